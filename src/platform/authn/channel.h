// The socket on which the web server's workers ask. Each message brings the end of a connection of
// its own on which it is answered, so that no worker sees what another is told.
#pragma once

#include <string>

#include "platform/files/descriptor.h"

namespace kelvarion::platform {

enum class Received { kMessage, kNothing, kClosed };

// Does not wait. A message that is too long comes empty; one without an end to answer on comes with
// none. kClosed when nobody is left who could ask.
Received ReceiveMessage(int channel, std::string& text, Descriptor& reply);

// Nothing happens when the other end does not listen any more. False when the text is too long.
bool SendAnswer(const Descriptor& reply, const std::string& text);

}  // namespace kelvarion::platform
