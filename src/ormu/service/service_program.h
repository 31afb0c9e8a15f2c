// The program ormusvc: the replication service of one home, under the service manager's supervisor.
#pragma once

namespace kelvarion::ormu {

// Serves until it is told to end; its exit code.
int RunOrmusvc(int argc, char** argv);

}  // namespace kelvarion::ormu
