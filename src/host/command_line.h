// The program's command line.
#pragma once

namespace kelvarion::host {

// Runs kelvarionctl; its exit code.
int RunKelvarionctl(int argc, char** argv);

}  // namespace kelvarion::host
