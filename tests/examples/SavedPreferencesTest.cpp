// Preferences saved under a checksum and restored, and what the core tells about itself.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "FilePathManager.h"
#include "crcCalculator.h"
#include "examples/ExamplePrograms.h"

namespace KelpTest {
namespace {

using Kelp::FilePathManager;

constexpr char kSave[] = "methodName=savePreferences&installId=00000001";
constexpr char kRestore[] = "methodName=restorePreferences&installId=00000001";

ClientReply setClock(const std::string& name, const std::string& type, const std::string& value) {
  return callApi("methodName=setPreference&installId=00000001&prefName=" + name + "&prefType=" + type +
                 "&prefValue=" + value);
}

std::string checksumOf(const std::string& text) {
  char line[64];
  snprintf(line, sizeof(line), "{\n  \"appPreferenceCrc\":\"0x%04X\",",
           static_cast<unsigned int>(
               Kelp::crcCalculator::getCRC(reinterpret_cast<const unsigned char*>(text.data()), text.size())));
  return line;
}

class SavedPreferencesTest : public ExamplesTest {
 protected:
  const std::string m_savedPrefs = FilePathManager::getAppPrefsBackupFilePath("clock");
};

TEST_F(SavedPreferencesTest, TheSavedFileIsTheFileWithItsChecksumAsFirstMember) {
  const std::string prefs = contentOf(m_clockPrefs);
  CoreProcess core;
  EXPECT_EQ(R"({"returnCode":"0"})", callApi(kSave).body);
  EXPECT_EQ(checksumOf(prefs) + prefs.substr(1), contentOf(m_savedPrefs));
  EXPECT_EQ(std::vector<std::string>({"appPrefs.json"}),
            filesIn(std::filesystem::path(m_savedPrefs).parent_path().string()));
  endCore(core);
}

TEST_F(SavedPreferencesTest, RestoringReportsWhatChangedAndWritesTheFile) {
  const std::string prefs = contentOf(m_clockPrefs);
  CoreProcess core;
  EXPECT_EQ(200, callApi(kSave).httpStatus);
  EXPECT_EQ(200, setClock("interval", "Integer", "77").httpStatus);
  EXPECT_EQ(200, setClock("style", "Enumeration", "loud").httpStatus);
  EXPECT_NE(prefs, contentOf(m_clockPrefs));
  EXPECT_EQ(R"({"returnCode":"0","changed":["interval","style"]})", callApi(kRestore).body);
  EXPECT_EQ(prefs, contentOf(m_clockPrefs));
  EXPECT_EQ(R"({"returnCode":"0","changed":[]})", callApi(kRestore).body);
  endCore(core);
}

TEST_F(SavedPreferencesTest, ARunningApplicationTakesTheRestoredOnesUp) {
  CoreProcess core;
  EXPECT_EQ(200, callApi("methodName=startApplication&installId=00000001").httpStatus);
  EXPECT_EQ(200, callApi(kSave).httpStatus);
  EXPECT_EQ(200, setClock("label", "String", "changed").httpStatus);
  const auto reports = [](const char* label) {
    return waitUntil(
        [=] { return has(callApi("methodName=getApplicationList").body, std::string("\"reportText\":\"") + label); });
  };
  EXPECT_TRUE(reports("changed"));
  EXPECT_EQ(200, callApi(kRestore).httpStatus);
  EXPECT_TRUE(reports("It is"));
  endCore(core);
}

TEST_F(SavedPreferencesTest, ADamagedFileIsRefusedAndNothingChanges) {
  CoreProcess core;
  EXPECT_EQ(200, callApi(kSave).httpStatus);
  EXPECT_EQ(200, setClock("label", "String", "kept").httpStatus);
  const std::string prefs = contentOf(m_clockPrefs);
  const std::string saved = contentOf(m_savedPrefs);
  std::string otherValue = saved;
  otherValue.replace(otherValue.find("\"value\":\"200\""), 13, "\"value\":\"201\"");
  std::string otherApplication = saved;
  otherApplication.replace(otherApplication.find("A001"), 4, "A002");
  std::string otherChecksum = saved;
  otherChecksum.replace(otherChecksum.find("0x"), 6, "0x0bad");
  for (const std::string& damaged :
       {otherValue, otherApplication, otherChecksum, prefs, saved.substr(0, 100), std::string()}) {
    writeFile(m_savedPrefs, damaged);
    const ClientReply reply = callApi(kRestore);
    EXPECT_EQ(409, reply.httpStatus);
    EXPECT_EQ(R"({"faultCode":"22","faultString":"Invalid Application Preference"})", reply.body);
    EXPECT_EQ(prefs, contentOf(m_clockPrefs));
    EXPECT_EQ(damaged, contentOf(m_savedPrefs));
  }
  EXPECT_TRUE(has(callApi("methodName=getPreferences&installId=00000001").body, R"("prefValue":"kept")"));
  endCore(core);
}

TEST_F(SavedPreferencesTest, WhatWasNeverSavedCannotBeRestored) {
  CoreProcess core;
  EXPECT_EQ(409, callApi(kRestore).httpStatus);
  EXPECT_EQ(404, callApi("methodName=restorePreferences&installId=00000009").httpStatus);
  EXPECT_EQ(404, callApi("methodName=savePreferences&installId=00000009").httpStatus);
  EXPECT_EQ(400, callApi("methodName=savePreferences").httpStatus);
  endCore(core);
}

TEST_F(SavedPreferencesTest, ACopyThatCannotBeWrittenLeavesTheOneBefore) {
  CoreProcess core;
  EXPECT_EQ(200, callApi(kSave).httpStatus);
  const std::string saved = contentOf(m_savedPrefs);
  EXPECT_EQ(200, setClock("label", "String", "newer").httpStatus);
  ASSERT_EQ(0, mkdir((m_savedPrefs + "~").c_str(), 0755));  // where the new copy would be written
  EXPECT_EQ(R"({"faultCode":"15","faultString":"I\/O error"})", callApi(kSave).body);
  EXPECT_EQ(saved, contentOf(m_savedPrefs));
  endCore(core);
}

TEST_F(SavedPreferencesTest, ARestoredListThatCannotBeWrittenIsAFault) {
  CoreProcess core;
  EXPECT_EQ(200, callApi(kSave).httpStatus);
  EXPECT_EQ(200, setClock("label", "String", "kept").httpStatus);
  const std::string prefs = contentOf(m_clockPrefs);
  ASSERT_EQ(0, mkdir((m_clockPrefs + "~").c_str(), 0755));
  EXPECT_EQ(R"({"faultCode":"15","faultString":"I\/O error"})", callApi(kRestore).body);
  EXPECT_EQ(prefs, contentOf(m_clockPrefs));
  EXPECT_TRUE(has(callApi("methodName=getPreferences&installId=00000001").body, R"("prefValue":"kept")"));
  endCore(core);
}

TEST_F(SavedPreferencesTest, BrokenPreferencesAreNotSaved) {
  writeFile(m_clockPrefs, "{");
  CoreProcess core;
  EXPECT_EQ(409, callApi(kSave).httpStatus);
  EXPECT_EQ(409, callApi(kRestore).httpStatus);
  EXPECT_NE(0, access(m_savedPrefs.c_str(), F_OK));
  endCore(core);
}

TEST_F(SavedPreferencesTest, TheStatusHasTheDevicesTimeWhereThePlatformKeepsIt) {
  CoreProcess core;
  EXPECT_EQ(R"({"returnCode":"0","installedCount":"2","runningCount":"0"})", callApi("methodName=getStatus").body);
  setRunningTime(8000);
  EXPECT_EQ(200, callApi("methodName=startApplication&installId=00000002").httpStatus);
  EXPECT_EQ(R"({"returnCode":"0","installedCount":"2","runningCount":"1","deviceMinutes":"8000"})",
            callApi("methodName=getStatus").body);
  endCore(core);
}

TEST_F(SavedPreferencesTest, TheCoreMakesItsDebugLogFile) {
  const std::string log = FilePathManager::getLogPath() + "/pf_core.log";
  ASSERT_NE(0, access(log.c_str(), F_OK));
  CoreProcess core;
  struct stat status = {};
  ASSERT_EQ(0, stat(log.c_str(), &status));
  EXPECT_EQ(S_IFREG | 0644u, status.st_mode);
  EXPECT_EQ(0u, status.st_uid);
  EXPECT_EQ(0u, status.st_gid);
  endCore(core);
}

}  // namespace
}  // namespace KelpTest
