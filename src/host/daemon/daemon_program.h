// The program kelvariond.
#pragma once

namespace kelvarion::host {

// Serves a home until it is told to end; its exit code.
int RunKelvariond(int argc, char** argv);

}  // namespace kelvarion::host
