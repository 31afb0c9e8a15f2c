#include "host/daemon/daemon_program.h"

int main(int argc, char** argv) { return kelvarion::host::RunKelvariond(argc, argv); }
