#include "platform/network/tls_certificate.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>

#include "platform/crypto/openssl_handles.h"
#include "platform/files/descriptor.h"
#include "platform/network/local_socket.h"

namespace kelvarion::platform {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kPatienceSeconds = 10;

struct FreeAddresses {
  void operator()(addrinfo* addresses) const { freeaddrinfo(addresses); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;
using Context = std::unique_ptr<SSL_CTX, OpenSslDeleter<SSL_CTX_free>>;
using Session = std::unique_ptr<SSL, OpenSslDeleter<SSL_free>>;
using PeersCertificate = std::unique_ptr<X509, OpenSslDeleter<X509_free>>;

// Whether it can be written to within the time that a server is given.
bool BecomesWritable(int socket) {
  pollfd writable{socket, POLLOUT, 0};
  int error = 0;
  socklen_t size = sizeof error;
  if (poll(&writable, 1, kPatienceSeconds * 1000) != 1) {
    errno = ETIMEDOUT;
    return false;
  }
  getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size);
  errno = error;
  return error == 0;
}

Descriptor ConnectTo(const addrinfo& address) {
  Descriptor connection(
      socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, address.ai_protocol));
  if (!connection) return connection;
  if (connect(connection.get(), address.ai_addr, address.ai_addrlen) != 0 &&
      (errno != EINPROGRESS || !BecomesWritable(connection.get())))
    return Descriptor();
  // From now on the system watches the time.
  fcntl(connection.get(), F_SETFL, fcntl(connection.get(), F_GETFL) & ~O_NONBLOCK);
  const timeval patience{kPatienceSeconds, 0};
  setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  return connection;
}

Descriptor ConnectTo(const std::string& host, const std::string& port, std::string& reason) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (const int error = getaddrinfo(host.c_str(), port.c_str(), &hints, &found)) {
    reason = gai_strerror(error);
    return Descriptor();
  }
  const Addresses addresses(found);
  for (const addrinfo* each = found; each; each = each->ai_next) {
    Descriptor connection = ConnectTo(*each);
    if (connection) return connection;
    reason = std::strerror(errno);
  }
  return Descriptor();
}

// What `print` writes.
template <class Print>
std::string Printed(const Print& print) {
  const BioHandle bio(BIO_new(BIO_s_mem()));
  print(bio.get());
  return Written(bio);
}

std::string NameOf(const X509_NAME* name) {
  return Printed(
      [&](BIO* bio) { X509_NAME_print_ex(bio, name, 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB); });
}

std::string Fingerprint(const X509* certificate) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
  unsigned size = 0;
  X509_digest(certificate, EVP_sha256(), digest.data(), &size);
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    text += kDigits[digest[i] >> 4];
    text += kDigits[digest[i] & 15];
  }
  return text;
}

PeerCertificate Describe(const X509* certificate) {
  PeerCertificate result;
  result.sha256 = Fingerprint(certificate);
  result.subject = NameOf(X509_get_subject_name(certificate));
  result.issuer = NameOf(X509_get_issuer_name(certificate));
  result.valid_until =
      Printed([&](BIO* bio) { ASN1_TIME_print(bio, X509_get0_notAfter(certificate)); });
  return result;
}

bool IsAddress(const std::string& host) {
  in6_addr address;
  return inet_pton(AF_INET, host.c_str(), &address) == 1 ||
         inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

// As Subversion's client checks the name, which has to accept the certificate: it looks for
// addresses too among the DNS names, or in the common name where there are none, and for asterisks
// only in place of a whole label.
void Expect(SSL* session, const std::string& host) {
  X509_VERIFY_PARAM* const expected = SSL_get0_param(session);
  X509_VERIFY_PARAM_set_hostflags(expected, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
  X509_VERIFY_PARAM_set1_host(expected, host.c_str(), host.size());
  if (!IsAddress(host)) SSL_set_tlsext_host_name(session, host.c_str());
}

// Through memory, since a library that writes to a socket itself may end the process with a signal.
bool ShakeHands(SSL* session, int connection, std::string& reason) {
  const auto end = Clock::now() + std::chrono::seconds(kPatienceSeconds);
  BIO* const received = BIO_new(BIO_s_mem());
  BIO* const to_send = BIO_new(BIO_s_mem());
  SSL_set_bio(session, received, to_send);
  SSL_set_connect_state(session);
  reason = "the server ended the connection or said nothing";
  std::array<char, 4096> buffer;
  for (;;) {
    const int result = SSL_do_handshake(session);
    const int error = SSL_get_error(session, result);
    for (int count = 0; (count = BIO_read(to_send, buffer.data(), buffer.size())) > 0;)
      if (SendAll(connection, {buffer.data(), static_cast<std::size_t>(count)},
                  kPatienceSeconds * 1000) != ERROR_SUCCESS)
        return false;
    if (result == 1) return true;
    if (error != SSL_ERROR_WANT_READ) {
      if (const char* text = ERR_reason_error_string(ERR_get_error())) reason = text;
      return false;
    }
    std::size_t size = 0;
    if (Clock::now() > end ||
        Receive(connection, buffer.data(), buffer.size(), size) != ERROR_SUCCESS || size == 0)
      return false;
    BIO_write(received, buffer.data(), static_cast<int>(size));
  }
}

}  // namespace

Win32Error FetchPeerCertificate(const std::string& host, const std::string& port,
                                PeerCertificate& out, std::string& reason) {
  const Descriptor connection = ConnectTo(host, port, reason);
  if (!connection) return RPC_S_SERVER_UNAVAILABLE;
  ERR_clear_error();
  const Context context(SSL_CTX_new(TLS_client_method()));
  if (!context) return ERROR_NOT_ENOUGH_MEMORY;
  SSL_CTX_set_default_verify_paths(context.get());
  const Session session(SSL_new(context.get()));
  if (!session) return ERROR_NOT_ENOUGH_MEMORY;
  Expect(session.get(), host);
  if (!ShakeHands(session.get(), connection.get(), reason)) return ERROR_INVALID_DATA;
  const PeersCertificate certificate(SSL_get1_peer_certificate(session.get()));
  if (!certificate) return ERROR_INVALID_DATA;
  out = Describe(certificate.get());
  out.vouched_for = SSL_get_verify_result(session.get()) == X509_V_OK;
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform
