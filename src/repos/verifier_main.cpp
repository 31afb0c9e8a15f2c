// kelvarion-verifier REPOSITORY: started by a verification, never by people.

#include <cstdio>

#include "repos/verify_workers.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("kelvarion-verifier is started by the verification of a repository.\n", stderr);
    return 2;
  }
  try {
    return kelvarion::repos::VerifierMain(argv[1]);
  } catch (...) {  // Whoever started it has gone.
    return 1;
  }
}
