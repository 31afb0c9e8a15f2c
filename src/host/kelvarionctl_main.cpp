#include "host/command_line.h"

int main(int argc, char** argv) { return kelvarion::host::RunKelvarionctl(argc, argv); }
