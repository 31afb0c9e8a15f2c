// What is measured. Each appends its rows.
#pragma once

#include "bench/harness.h"

namespace kelvarion::bench {

// What a request costs before any work is done for it: getting Kelvarion_VersionInfo in process, by
// one thread and by two at the same time.
void MeasureDispatch(std::vector<Row>& rows);

// Enumerating 1,000 repositories against a loop of `svnadmin info` over them.
void MeasureEnumeration(std::vector<Row>& rows);

// Creating a user in a users file of 10,000 against `htpasswd -b` on a copy of it.
void MeasureUserCreation(std::vector<Row>& rows);

// Changing one path's rules in a file of 5,000 sections against parsing that file alone.
void MeasureRuleChange(std::vector<Row>& rows);

// Getting, setting and explaining one path's rules in a file of 10,000 rules in 500 sections on a
// server of 5,000 users, each against one parse of the rules file by svn_config_read3 alone.
void MeasureRules(std::vector<Row>& rows);

// kelvarionctl against the program that people would start instead.
void MeasureCommands(std::vector<Row>& rows);

// Exports through the web server against a stock Apache.
void MeasureServing(std::vector<Row>& rows);

// Getting Kelvarion_VersionInfo through the daemon with 1, 8 and 64 clients at the same time,
// against the same in process; and what a client costs that asks nothing.
void MeasureDaemon(std::vector<Row>& rows);

// Filling a slave with a repository's whole history against svnsync, over file: and http:.
void MeasureReplication(std::vector<Row>& rows);

// Importing, verifying, backing up and measuring a repository against svnadmin load, hotcopy and
// verify and du.
void MeasureMaintenance(std::vector<Row>& rows);

}  // namespace kelvarion::bench
