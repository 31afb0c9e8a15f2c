// The blocks of the generated configuration, in the order in which the file has them.
#pragma once

#include "apache/config_text.h"
#include "apache/server_values.h"

namespace kelvarion::apache {

// sections_server.cpp: the server as a whole.
void WriteHeader(ConfigText& out);
void WriteServer(ConfigText& out, const ServerValues& values);
void WriteListen(ConfigText& out, const ServerValues& values);
void WriteModules(ConfigText& out, const ServerValues& values);
void WriteLogging(ConfigText& out, const ServerValues& values);
void WriteRootDirectory(ConfigText& out, const ServerValues& values);
void WriteRewrites(ConfigText& out);

// sections_repositories.cpp: who may get in, and the repositories.
void WriteAuthentication(ConfigText& out, const ServerValues& values);
void WriteRepositories(ConfigText& out, const ServerValues& values);
void WriteClientQuirks(ConfigText& out, const ServerValues& values);
void WriteWebInterface(ConfigText& out, const ServerValues& values);

// sections_tail.cpp: files, types and TLS.
void WriteFiles(ConfigText& out);
void WriteTls(ConfigText& out, const ServerValues& values);
void WriteCustomInclude(ConfigText& out);

// The whole file.
std::string ConfigurationText(const ServerValues& values);

// replication_location.cpp: a file of its own; empty where there is no master.
std::string ReplicationText(const ServerValues& values);

}  // namespace kelvarion::apache
