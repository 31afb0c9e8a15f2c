#include "platform/services/service_manager.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "platform/services/service_home_for_test.h"

namespace kelvarion::platform {
namespace {

namespace fs = std::filesystem;

using testing::Connects;
using testing::Eventually;
using testing::FreePort;
using testing::HeldPort;

constexpr const char16_t* kServer = ServiceHome::kName;

TEST(ServiceManagerTest, ARunReportsEveryStateAndLeavesNothingBehind) {
  const ServiceHome home;
  EXPECT_EQ(home.State(), SERVICE_STOPPED);
  EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_STOP), ERROR_SERVICE_NOT_ACTIVE);
  ASSERT_EQ(home.manager->Start(u"kelvarionserver"), ERROR_SUCCESS);
  EXPECT_EQ(home.manager->Start(kServer), ERROR_SERVICE_ALREADY_RUNNING);
  ASSERT_TRUE(home.Reaches(SERVICE_RUNNING));
  EXPECT_TRUE(Connects(home.port));
  EXPECT_EQ(home.manager->Control(kServer, 200), ERROR_INVALID_SERVICE_CONTROL);

  ASSERT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_STOP), ERROR_SUCCESS);
  EXPECT_EQ(home.State(), SERVICE_STOP_PENDING);
  EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_STOP), ERROR_SERVICE_CANNOT_ACCEPT_CTRL);
  ASSERT_TRUE(home.Reaches(SERVICE_STOPPED));
  EXPECT_EQ(home.Status().win32_exit_code, 0u);
  EXPECT_EQ(home.manager->LastFailure(kServer), u"");
  EXPECT_FALSE(Connects(home.port));
  EXPECT_TRUE(Eventually([&] { return !IsRunning(home.Record().supervisor); }));
}

TEST(ServiceManagerTest, StartTypesAreKeptAndDisabledServicesDoNotStart) {
  const ServiceHome home;
  ServiceConfig config;
  ASSERT_EQ(home.manager->QueryConfig(u"ormusvc", config), ERROR_SUCCESS);
  EXPECT_EQ(config.start_type, SERVICE_DEMAND_START);
  EXPECT_EQ(home.manager->SetStartType(u"ormusvc", 7), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(home.manager->SetStartType(u"ormusvc", SERVICE_DISABLED), ERROR_SUCCESS);
  const auto another = OpenServiceManager(home.folder.string());
  ASSERT_EQ(another->QueryConfig(u"ormusvc", config), ERROR_SUCCESS);
  EXPECT_EQ(config.start_type, SERVICE_DISABLED);
  EXPECT_EQ(another->Start(u"ormusvc"), ERROR_SERVICE_DISABLED);
  ASSERT_EQ(another->QueryConfig(kServer, config), ERROR_SUCCESS);
  EXPECT_EQ(config.start_type, SERVICE_AUTO_START);
  EXPECT_EQ(config.start_name, geteuid() == 0 ? u"www-data" : ServiceAccount());
}

TEST(ServiceManagerTest, WhatIsNotInstalledIsSaidToBeMissing) {
  const ServiceHome home;
  ServiceStatus status;
  EXPECT_EQ(home.manager->QueryStatus(u"Spooler", status), ERROR_SERVICE_DOES_NOT_EXIST);
  EXPECT_EQ(home.manager->Start(u"Spooler"), ERROR_SERVICE_DOES_NOT_EXIST);
  fs::remove(home.Definition().configuration);
  EXPECT_EQ(home.manager->Start(kServer), ERROR_FILE_NOT_FOUND);
  EXPECT_TRUE(home.Says(u"kelvarion.conf"));
  // The replication service finds nothing to work on.
  EXPECT_EQ(home.manager->Start(u"ormusvc"), ERROR_SUCCESS);
  EXPECT_TRUE(Eventually([&] {
    return home.manager->LastFailure(u"ormusvc").find(u"There is no home") != std::u16string::npos;
  }));
}

TEST(ServiceManagerTest, AFailedStartSaysWhyInTheServersOwnWords) {
  const HeldPort occupied;
  const struct {
    const char* what;
    std::string lines;
    std::u16string words;
  } rows[] = {
      {"occupied port", "Listen 127.0.0.1:" + std::to_string(occupied.port), u"AH00072"},
      {"syntax error", "NoSuchDirective on", u"NoSuchDirective"},
      {"no address", "", u"no listening sockets"},
      {"found out late, told to the log",
       "LoadModule mime_module /usr/lib/apache2/modules/mod_mime.so\nTypesConfig nowhere\n"
       "Listen 127.0.0.1:" +
           std::to_string(FreePort()),
       u"AH01597"},
  };
  const ServiceHome home;
  for (const auto& row : rows) {
    home.Configure(row.lines);
    EXPECT_EQ(home.manager->Start(kServer), ERROR_SUCCESS) << row.what;
    EXPECT_TRUE(home.Reaches(SERVICE_STOPPED)) << row.what;
    EXPECT_EQ(home.Status().win32_exit_code, ERROR_SERVICE_SPECIFIC_ERROR) << row.what;
    EXPECT_TRUE(home.Says(row.words)) << row.what;
  }
  home.Configure("Listen 127.0.0.1:" + home.port);
  EXPECT_TRUE(home.StartsUp());
  EXPECT_EQ(home.Status().win32_exit_code, 0u);
  EXPECT_EQ(home.manager->LastFailure(kServer), u"");
}

TEST(ServiceManagerTest, DeathBehindTheManagersBackIsReportedAndOvercome) {
  const struct {
    const char* what;
    bool supervisor_first;
  } rows[] = {{"server killed", false}, {"supervisor and server killed", true}};
  for (const auto& row : rows) {
    const ServiceHome home;
    ASSERT_TRUE(home.StartsUp()) << row.what;
    const ServiceRecord record = home.Record();
    if (row.supervisor_first) {
      ASSERT_TRUE(SignalProcess(record.supervisor, SIGKILL));
      ASSERT_TRUE(Eventually([&] { return !IsRunning(record.supervisor); }));
      EXPECT_EQ(home.State(), SERVICE_RUNNING) << row.what;
    }
    ASSERT_TRUE(SignalProcess(record.process, SIGKILL));
    EXPECT_TRUE(home.Reaches(SERVICE_STOPPED)) << row.what;
    EXPECT_EQ(home.Status().win32_exit_code, ERROR_PROCESS_ABORTED) << row.what;
    EXPECT_NE(home.manager->LastFailure(kServer), u"") << row.what;
    // Workers of the dead server would hold the port.
    EXPECT_TRUE(home.StartsUp()) << row.what;
  }
}

TEST(ServiceManagerTest, AServerWithoutItsSupervisorIsStoppedAllTheSame) {
  const ServiceHome home;
  ASSERT_TRUE(home.StartsUp());
  const ServiceRecord record = home.Record();
  ASSERT_TRUE(SignalProcess(record.supervisor, SIGKILL));
  ASSERT_TRUE(Eventually([&] { return !IsRunning(record.supervisor); }));
  // Somebody was about to and was killed between the record and the signal.
  ServiceRecord stopping = record;
  stopping.phase = Phase::kStopping;
  WriteRecord(home.Definition(), stopping);
  EXPECT_EQ(home.State(), SERVICE_STOP_PENDING);
  EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_STOP), ERROR_SUCCESS);
  EXPECT_TRUE(home.Reaches(SERVICE_STOPPED));
  EXPECT_EQ(home.Status().win32_exit_code, 0u);
}

TEST(ServiceManagerTest, APidFileThatNamesAStrangerDoesNotPreventTheStart) {
  const ServiceHome home;
  std::ofstream(home.Definition().File(".pid")) << getpid() << "\n";
  EXPECT_EQ(home.State(), SERVICE_STOPPED);
  EXPECT_TRUE(home.StartsUp());
}

TEST(ServiceManagerTest, ARestartThatWouldKillTheServerIsRefused) {
  const HeldPort occupied;
  const ServiceHome home;
  EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_RESTART), ERROR_SERVICE_NOT_ACTIVE);
  ASSERT_TRUE(home.StartsUp());
  const ServiceRecord before = home.Record();
  const struct {
    std::string lines;
    std::u16string words;
  } rows[] = {
      {"NoSuchDirective on", u"NoSuchDirective"},
      {"Listen 127.0.0.1:" + std::to_string(occupied.port), u"Address already in use"},
      {"# Listen 127.0.0.1:" + home.port, u"no address to listen on"},
  };
  for (const auto& row : rows) {
    home.Configure(row.lines);
    EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_RESTART),
              ERROR_SERVICE_SPECIFIC_ERROR);
    EXPECT_TRUE(home.Says(row.words));
    EXPECT_EQ(home.State(), SERVICE_RUNNING);
    EXPECT_TRUE(Connects(home.port));
  }
  EXPECT_EQ(home.Record().process, before.process);
}

TEST(ServiceManagerTest, ARestartTakesUpNewAddresses) {
  const std::string more = std::to_string(FreePort());
  const ServiceHome home;
  ASSERT_TRUE(home.StartsUp());
  const ServiceRecord before = home.Record();
  home.Configure("Listen 127.0.0.1:" + home.port + "\nListen 127.0.0.1:" + more);
  EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_RESTART), ERROR_SUCCESS);
  EXPECT_TRUE(Eventually([&] { return Connects(more); }));
  EXPECT_EQ(home.Record().process, before.process) << "the server went on";

  // The wildcard cannot be bound while the server holds one address of the port.
  home.Configure("Listen " + home.port);
  EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_RESTART), ERROR_SUCCESS);
  EXPECT_TRUE(Eventually(
      [&] { return home.State() == SERVICE_RUNNING && home.Record().process != before.process; }));
  EXPECT_TRUE(Connects(home.port));
  EXPECT_FALSE(Connects(more));
  EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_RESTART), ERROR_SUCCESS);
  EXPECT_TRUE(Connects(home.port));
}

TEST(ServiceManagerTest, HomesSideBySideDoNotDisturbEachOther) {
  const ServiceHome first;
  const ServiceHome second;
  ASSERT_TRUE(first.StartsUp());
  ASSERT_TRUE(second.StartsUp());
  EXPECT_EQ(first.manager->Control(kServer, SERVICE_CONTROL_STOP), ERROR_SUCCESS);
  EXPECT_TRUE(first.Reaches(SERVICE_STOPPED));
  EXPECT_EQ(second.State(), SERVICE_RUNNING);
  EXPECT_TRUE(Connects(second.port));
}

// A copy of the supervisor that every account can run, wherever this build lies.
class SharedSupervisor {
 public:
  SharedSupervisor() {
    fs::permissions(folder_, kForAll);
    for (const std::string file : {"bin/kelvarion-supervisor", "lib/libkelvarion_platform.so"}) {
      const fs::path copy = folder_ / file;
      fs::create_directory(copy.parent_path());
      fs::permissions(copy.parent_path(), kForAll);
      fs::copy_file(fs::path(KELVARION_BUILD_DIR) / file, copy);
      fs::permissions(copy, kForAll);
    }
  }
  std::string folder() const { return folder_ / "bin"; }

 private:
  static constexpr auto kForAll = fs::perms{0755};
  const testing::TemporaryFolder temporary_;
  const fs::path folder_ = temporary_.native();
};

TEST(ServiceManagerTest, AnOrdinaryUserRunsAServerOfHisOwn) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const SharedSupervisor supervisor;
  const pid_t child = fork();
  if (child == 0) {
    constexpr uid_t kNobody = 65534;
    if (setgid(kNobody) != 0 || setuid(kNobody) != 0) _exit(2);
    setenv("KELVARION_LIBEXEC", supervisor.folder().c_str(), 1);
    bool fine = false;
    {
      const ServiceHome home;
      fine = home.StartsUp() &&
             home.manager->Control(kServer, SERVICE_CONTROL_STOP) == ERROR_SUCCESS &&
             home.Reaches(SERVICE_STOPPED) && home.Status().win32_exit_code == 0;
    }
    _exit(fine ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace kelvarion::platform
