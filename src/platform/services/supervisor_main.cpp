// kelvarion-supervisor HOME SERVICE: started by the service manager, never by people.

#include <cstdio>

#include "platform/services/supervisor.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("kelvarion-supervisor is started by the service manager.\n", stderr);
    return 2;
  }
  return kelvarion::platform::SupervisorMain(argv[1], argv[2]);
}
