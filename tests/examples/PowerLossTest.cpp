// What the core has answered for is on disk: a saved copy and a package outlive a loss of power, and neither is ever
// there by half.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "FilePathManager.h"
#include "core/ApplicationPreferences.h"
#include "core/PackageJob.h"
#include "examples/ExamplePrograms.h"
#include "support/DiskModel.h"
#include "support/FileOperations.h"
#include "support/TracedProcess.h"

namespace KelpTest {
namespace {

using Kelp::FilePathManager;
using KelpExample::ApplicationPreferences;

class PowerLossTest : public ExamplesTest {
 protected:
  void SetUp() override {
    if (!isTracingPermitted()) {
      GTEST_SKIP() << "a process may not trace its own child here";
    }
  }

  // `body` replaces what the disk has at the path by `after`, and returns whether it did.
  static void expectReplaced(const Disk& disk, const std::string& path, const std::string& after,
                             const std::function<bool()>& body) {
    for (const auto& [name, content] : disk) {
      writeFile(name, content);
    }
    const auto operations = recordFileOperations([&] { return body() ? 0 : 1; });
    EXPECT_EQ(std::set<std::string>({disk.at(path), after}), contentsOf(path, statesDuring(disk, operations)));
    EXPECT_EQ(std::set<std::string>({after}), contentsOf(path, statesAfter(disk, operations)));
    EXPECT_EQ(after, contentOf(path));
  }
};

TEST_F(PowerLossTest, ASavedCopyIsTheOldOrTheNewOneAndAfterwardsTheNewOne) {
  const std::string savedPrefs = FilePathManager::getAppPrefsBackupFilePath("clock");
  std::filesystem::create_directories(std::filesystem::path(savedPrefs).parent_path());
  const ApplicationPreferences preferences(m_clockPrefs);
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, preferences.saveTo(savedPrefs));
  const std::string copy = contentOf(savedPrefs);
  expectReplaced({{savedPrefs, "the copy of before"}}, savedPrefs, copy,
                 [&] { return preferences.saveTo(savedPrefs) == Kelp::CommonReturnCode_Ok; });
}

TEST_F(PowerLossTest, APackageIsTheOldOrTheNewOneAndAfterwardsTheNewOne) {
  const std::string requestPath = FilePathManager::getCoreTmpFilePath();
  const std::string packagePath = FilePathManager::getAppBasePath() + "/package";
  const Disk disk = {{requestPath, "methodName=updateApplication&applicationPackage=TmV3IHBhY2thZ2U="},
                     {packagePath, "the package of before"}};
  expectReplaced(disk, packagePath, "New package", [&] {
    KelpExample::PackageJob job(KelpExample::RequestForm::UrlEncoded, requestPath, packagePath);
    job.executeInWorkerThread();
    return job.getResult() == Kelp::CommonReturnCode_Ok;
  });
}

}  // namespace
}  // namespace KelpTest
