#include "platform/services/service_manager.h"

#include <gtest/gtest.h>

#include "platform/services/service_home_for_test.h"

namespace kelvarion::platform {
namespace {

namespace fs = std::filesystem;

using testing::Connects;
using testing::Eventually;
using testing::FreePort;

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

// One that fails at once is seen end to end.
TEST(ServiceManagerTest, AStartThatFailsLateSaysWhyInTheServersOwnWords) {
  const ServiceHome home;
  home.Configure(
      "LoadModule mime_module /usr/lib/apache2/modules/mod_mime.so\nTypesConfig nowhere\n"
      "Listen 127.0.0.1:" +
      home.port);
  EXPECT_EQ(home.manager->Start(kServer), ERROR_SUCCESS);
  EXPECT_TRUE(home.Reaches(SERVICE_STOPPED));
  EXPECT_EQ(home.Status().win32_exit_code, ERROR_SERVICE_SPECIFIC_ERROR);
  EXPECT_TRUE(home.Says(u"AH01597"));
  home.Configure("Listen 127.0.0.1:" + home.port);
  EXPECT_TRUE(home.StartsUp());
  EXPECT_EQ(home.Status().win32_exit_code, 0u);
  EXPECT_EQ(home.manager->LastFailure(kServer), u"");
}

TEST(ServiceManagerTest, TheDeathOfSupervisorAndServerIsReportedAndOvercome) {
  const ServiceHome home;
  ASSERT_TRUE(home.StartsUp());
  const ServiceRecord record = home.Record();
  ASSERT_TRUE(SignalProcess(record.supervisor, SIGKILL));
  ASSERT_TRUE(Eventually([&] { return !IsRunning(record.supervisor); }));
  EXPECT_EQ(home.State(), SERVICE_RUNNING);
  ASSERT_TRUE(SignalProcess(record.process, SIGKILL));
  EXPECT_TRUE(home.Reaches(SERVICE_STOPPED));
  EXPECT_EQ(home.Status().win32_exit_code, ERROR_PROCESS_ABORTED);
  EXPECT_NE(home.manager->LastFailure(kServer), u"");
  // Workers of the dead server would hold the port.
  EXPECT_TRUE(home.StartsUp());
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

TEST(ServiceManagerTest, ARestartThatWouldLeaveTheServerWithoutAddressIsRefused) {
  const ServiceHome home;
  EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_RESTART), ERROR_SERVICE_NOT_ACTIVE);
  ASSERT_TRUE(home.StartsUp());
  const ServiceRecord before = home.Record();
  home.Configure("# Listen 127.0.0.1:" + home.port);
  EXPECT_EQ(home.manager->Control(kServer, SERVICE_CONTROL_RESTART), ERROR_SERVICE_SPECIFIC_ERROR);
  EXPECT_TRUE(home.Says(u"no address to listen on"));
  EXPECT_EQ(home.State(), SERVICE_RUNNING);
  EXPECT_TRUE(Connects(home.port));
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

}  // namespace
}  // namespace kelvarion::platform
