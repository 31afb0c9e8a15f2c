#include "platform/network/network.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "platform/network/listening_ports.h"
#include "platform/text/encoding.h"
#include "tests/support/ipv6.h"

namespace kelvarion::platform {
namespace {

// A TCP socket on a free port of the loopback interface.
class Socket {
 public:
  enum class State { kBound, kListening };

  Socket(int family, State state) : descriptor_(socket(family, SOCK_STREAM, 0)) {
    sockaddr_storage address{};
    socklen_t size = 0;
    if (family == AF_INET6) {
      auto& ipv6 = reinterpret_cast<sockaddr_in6&>(address);
      ipv6.sin6_family = AF_INET6;
      ipv6.sin6_addr = in6addr_loopback;
      size = sizeof ipv6;
    } else {
      auto& ipv4 = reinterpret_cast<sockaddr_in&>(address);
      ipv4.sin_family = AF_INET;
      ipv4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      size = sizeof ipv4;
    }
    EXPECT_EQ(bind(descriptor_, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_TRUE(state == State::kBound || listen(descriptor_, 1) == 0);
    EXPECT_EQ(getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &size), 0);
    // The port lies at the same place in both kinds of address.
    port_ = ntohs(reinterpret_cast<sockaddr_in&>(address).sin_port);
  }
  ~Socket() { close(descriptor_); }
  std::uint16_t port() const { return port_; }

 private:
  int descriptor_;
  std::uint16_t port_ = 0;
};

bool Has(const std::vector<std::uint16_t>& ports, const Socket& socket) {
  return std::find(ports.begin(), ports.end(), socket.port()) != ports.end();
}

TEST(ListeningPortsTest, BothSourcesNameExactlyTheListenersOfTheFamily) {
  if (!kelvarion::testing::HasIpv6Loopback()) GTEST_SKIP() << "this machine has no IPv6";
  const Socket listening4(AF_INET, Socket::State::kListening);
  const Socket listening6(AF_INET6, Socket::State::kListening);
  const Socket bound(AF_INET, Socket::State::kBound);
  std::vector<std::uint16_t> kernel4;
  std::vector<std::uint16_t> kernel6;
  std::vector<std::uint16_t> table4;
  std::vector<std::uint16_t> table6;
  ASSERT_TRUE(AskKernelForListeners(AF_INET, kernel4));
  ASSERT_TRUE(AskKernelForListeners(AF_INET6, kernel6));
  ASSERT_TRUE(ReadTableOfListeners("/proc/net/tcp", table4));
  ASSERT_TRUE(ReadTableOfListeners("/proc/net/tcp6", table6));
  for (const auto* ports : {&kernel4, &table4}) {
    EXPECT_TRUE(Has(*ports, listening4));
    EXPECT_FALSE(Has(*ports, listening6));
    EXPECT_FALSE(Has(*ports, bound));
  }
  for (const auto* ports : {&kernel6, &table6}) {
    EXPECT_TRUE(Has(*ports, listening6));
    EXPECT_FALSE(Has(*ports, listening4));
  }
  EXPECT_FALSE(ReadTableOfListeners("/proc/net/none", table4));
}

TEST(IpAddressTest, AreTextsOfBothKindsAndNothingElse) {
  for (const char16_t* text : {u"127.0.0.1", u"::", u"[::1]", u"fe80::1%eth0", u"::ffff:1.2.3.4"})
    EXPECT_TRUE(IsIpAddress(text)) << Utf8ForDisplay(text);
  for (const char16_t* text : {u"", u"999.1.1.1", u"127.1", u"localhost", u"*", u"[127.0.0.1]",
                               u"::1\nListen 80", u"127.0.0.1:80", u"%", u"\xD800"})
    EXPECT_FALSE(IsIpAddress(text)) << Utf8ForDisplay(text);
}

TEST(TestBindTest, TellsWhyAServerCouldNotListen) {
  if (!kelvarion::testing::HasIpv6Loopback()) GTEST_SKIP() << "this machine has no IPv6";
  const Socket taken4(AF_INET, Socket::State::kListening);
  const Socket taken6(AF_INET6, Socket::State::kListening);
  const struct {
    const char* what;
    std::u16string address;
    std::uint16_t port;
    Win32Error expected;
  } rows[] = {
      {"taken", u"127.0.0.1", taken4.port(), WSAEADDRINUSE},
      {"taken IPv6", u"::1", taken6.port(), WSAEADDRINUSE},
      {"taken somewhere", u"", taken4.port(), WSAEADDRINUSE},
      {"taken by IPv6", u"", taken6.port(), WSAEADDRINUSE},
      {"another address", u"127.0.0.2", taken4.port(), ERROR_SUCCESS},
      {"any free port", u"", 0, ERROR_SUCCESS},
      {"not our address", u"192.0.2.1", 0, WSAEADDRNOTAVAIL},
      {"no address", u"localhost", 0, ERROR_INVALID_PARAMETER},
      {"no text", u"\xD800", 0, ERROR_INVALID_PARAMETER},
  };
  for (const auto& row : rows) EXPECT_EQ(TestBind(row.address, row.port), row.expected) << row.what;
}

TEST(ComputerNameTest, IsTheHostNameWithOrWithoutItsDomain) {
  char host[256] = {};
  ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
  std::u16string name;
  ASSERT_EQ(GetComputerDnsName(name), ERROR_SUCCESS);
  const std::string ascii = Utf8ForDisplay(name);
  EXPECT_TRUE(ascii == host || ascii.find('.') != std::string::npos) << ascii;
}

}  // namespace
}  // namespace kelvarion::platform
