// kelvarion-authn HOME: started by the web server, never by people.

#include <cstdio>

#include "platform/authn/login_service.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("kelvarion-authn is started by the web server.\n", stderr);
    return 2;
  }
  return kelvarion::platform::LoginServiceMain(argv[1]);
}
