// kelvarionctl certificate: the web server's certificate, shown, made, asked for and brought in.
#pragma once

#include "host/command_group.h"

namespace kelvarion::host {

void AddCertificateCommands(CLI::App& app, Command& chosen);

// The commands below it that need the content of a new certificate.
void AddNewCertificateCommands(CLI::App& certificate, Command& chosen);

}  // namespace kelvarion::host
