// Stream sockets with a name in the file system, between programs of one machine.
//
// Paths are UTF-8 and may be longer than what an address holds. Sockets are not inherited by the
// programs that this process starts. Failures are Win32 error codes.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/class_object.h"
#include "platform/files/descriptor.h"

namespace kelvarion::platform {

// A socket that anybody who can reach the path may connect to. The name appears, in place of one
// that may be there, when connections are taken already. The socket does not block.
Win32Error ListenLocal(const std::string& path, Descriptor& out);

// Whether a connection or bytes arrived within the time.
bool AwaitReadable(int socket, int timeout_ms);

// The next connection, which does not block; none is success without a descriptor.
Win32Error AcceptLocal(int listener, Descriptor& out);

// ERROR_FILE_NOT_FOUND when nobody listens there.
Win32Error ConnectLocal(const std::string& path, Descriptor& out);

// The account that the process at the other end had when it connected, with all its groups, able
// to act.
Win32Error PeerToken(int socket, ClientToken& out);

// Writes everything. ERROR_SERVICE_REQUEST_TIMEOUT when the other end takes nothing for that long,
// ERROR_WRITE_FAULT when it is gone.
Win32Error SendAll(int socket, std::string_view bytes, int timeout_ms);

// What has arrived, waited for when there is nothing; no bytes at the end. ERROR_READ_FAULT when
// the other end went before it had read everything that was sent to it.
Win32Error Receive(int socket, void* buffer, std::size_t size, std::size_t& out);

// Whether the other end has stopped sending, by ending, by closing the socket or half of it. What
// it sent before may still be there. Safe from any thread.
bool HasStoppedSending(int socket);

// Tells the other end that nothing more will be sent; receiving goes on. Safe from any thread.
void EndSending(int socket);
// Ends both directions; whoever waits on the socket goes on. Safe from any thread.
void Disconnect(int socket);

}  // namespace kelvarion::platform
