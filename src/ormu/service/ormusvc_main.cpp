#include "ormu/service/service_program.h"

int main(int argc, char** argv) { return kelvarion::ormu::RunOrmusvc(argc, argv); }
