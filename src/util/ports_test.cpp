#include "util/ports.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/support/ipv6.h"

namespace kelvarion::util {
namespace {

TEST(IsTcpPortInUseTest, FindsAPortThatIsListenedOnOnlyOverIPv6) {
  if (!kelvarion::testing::HasIpv6Loopback()) GTEST_SKIP() << "this machine has no IPv6";
  const int server = socket(AF_INET6, SOCK_STREAM, 0);
  const int only = 1;
  ASSERT_EQ(setsockopt(server, IPPROTO_IPV6, IPV6_V6ONLY, &only, sizeof only), 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  socklen_t size = sizeof address;
  ASSERT_EQ(bind(server, reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(getsockname(server, reinterpret_cast<sockaddr*>(&address), &size), 0);
  const std::uint32_t port = ntohs(address.sin6_port);
  EXPECT_FALSE(IsTcpPortInUse(port)) << "bound, but not listening";
  ASSERT_EQ(listen(server, 1), 0);
  EXPECT_TRUE(IsTcpPortInUse(port));
  EXPECT_FALSE(IsTcpPortInUse(port + 0x10000)) << "no port";
  close(server);
  EXPECT_FALSE(IsTcpPortInUse(port));
}

}  // namespace
}  // namespace kelvarion::util
