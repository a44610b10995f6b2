#include "host/package_loader.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/action_registry.h"
#include "package/custom_bv_action.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_host.h"

namespace brivant::host {
namespace {

namespace fs = std::filesystem;

// Built by this directory's CMakeLists.txt from test_package.cpp.
constexpr const char* kTestPackage = BRIVANT_TEST_PACKAGE;
// A shared library that is not a package: it exports no BVRegister.
constexpr const char* kPlainLibrary = BRIVANT_PLAIN_LIBRARY;

class PackageLoaderTest : public ::testing::Test {
 protected:
  std::string MakeDirectory(const std::string& name) {
    fs::create_directories(temp_.Join(name));
    return temp_.Join(name);
  }
  // A copy, so that each test loads a module of its own.
  std::string CopyPackage(const std::string& directory, const std::string& name) {
    fs::copy_file(kTestPackage, directory + "/" + name);
    return directory + "/" + name;
  }
  std::vector<std::string> RegisteredClasses() const {
    std::vector<std::string> names;
    for (const RegisteredAction& action : registry_.Actions())
      names.push_back(action.category + "/" + std::string(action.action_class->Name()));
    return names;
  }

  testing::ScopedTempDir temp_;
  ActionRegistry registry_;
};

TEST_F(PackageLoaderTest, PackageRegistersItsActions) {
  std::string directory = MakeDirectory("packages");
  std::string package = CopyPackage(directory, "libtest.so");
  PackageLoadResult result = LoadPackages({directory}, registry_);
  EXPECT_EQ(result.loaded, std::vector<std::string>{package});
  EXPECT_EQ(result.problems, std::vector<std::string>{});
  ASSERT_EQ(RegisteredClasses(),
            (std::vector<std::string>{"Testing/TTestEchoAction", "Loops/TTestRepeatAction"}));
  std::unique_ptr<TCustomBVAction> echo = registry_.Actions()[0].action_class->Create();
  EXPECT_EQ(echo->GetActionName(), "Echo Text");
  EXPECT_EQ(registry_.Actions()[0].icon, "ECHO");
}

TEST_F(PackageLoaderTest, OnlySharedModulesWithTheEntryAreRegistered) {
  std::string directory = MakeDirectory("packages");
  std::string package = CopyPackage(directory, "libz.so");
  fs::create_symlink(kPlainLibrary, directory + "/libplain.so");
  CopyPackage(directory, "libversioned.so.1");
  CopyPackage(directory, "notes.txt");
  fs::create_directory(directory + "/directory.so");
  PackageLoadResult result = LoadPackages({directory}, registry_);
  EXPECT_EQ(result.loaded, std::vector<std::string>{package});
  EXPECT_EQ(result.problems, std::vector<std::string>{});
  EXPECT_EQ(registry_.Actions().size(), 2u);
}

TEST_F(PackageLoaderTest, BrokenModuleIsReportedAndTheOthersStillLoad) {
  std::string directory = MakeDirectory("packages");
  testing::WriteBytes(directory + "/libbroken.so", "not a shared object");
  std::string package = CopyPackage(directory, "libgood.so");
  PackageLoadResult result = LoadPackages({directory}, registry_);
  EXPECT_EQ(result.loaded, std::vector<std::string>{package});
  ASSERT_EQ(result.problems.size(), 1u);
  // The rest of the text is the dynamic loader's ("invalid ELF header", ...).
  std::string expected_start = "cannot load package: " + directory + "/libbroken.so: ";
  EXPECT_EQ(result.problems[0].substr(0, expected_start.size()), expected_start);
}

TEST_F(PackageLoaderTest, EarlierDirectoryHidesTheSameName) {
  std::string first = MakeDirectory("build");
  std::string second = MakeDirectory("installed");
  std::string winner = CopyPackage(first, "libbvstd.so");
  CopyPackage(second, "libbvstd.so");
  std::string other = CopyPackage(second, "libother.so");
  PackageLoadResult result = LoadPackages({temp_.Join("missing"), first, second}, registry_);
  EXPECT_EQ(result.loaded, (std::vector<std::string>{winner, other}));
  EXPECT_EQ(result.problems, std::vector<std::string>{});
  EXPECT_EQ(registry_.Actions().size(), 4u);
}

TEST_F(PackageLoaderTest, ModuleReachedTwiceThroughLinksRegistersOnce) {
  std::string directory = MakeDirectory("packages");
  std::string package = CopyPackage(directory, "liba.so");
  fs::create_symlink(package, directory + "/libb.so");
  PackageLoadResult result = LoadPackages({directory}, registry_);
  EXPECT_EQ(result.loaded, std::vector<std::string>{package});
  EXPECT_EQ(registry_.Actions().size(), 2u);
}

TEST_F(PackageLoaderTest, DirectoryThatIsAFileIsReported) {
  testing::WriteBytes(temp_.Join("file"), "");
  PackageLoadResult result = LoadPackages({temp_.Join("file")}, registry_);
  EXPECT_EQ(result.problems, std::vector<std::string>{temp_.Join("file") + ": Not a directory"});
}

TEST(PackageDirectories, ComeFromTheEnvironmentOrTheExecutable) {
  testing::ScopedEnv path("BRIVANT_PACKAGE_PATH", "/a/packages::/b:");
  EXPECT_EQ(PackageDirectories(), (std::vector<std::string>{"/a/packages", "/b"}));
  ::setenv("BRIVANT_PACKAGE_PATH", "", 1);
  EXPECT_EQ(PackageDirectories(), std::vector<std::string>{});

  ::unsetenv("BRIVANT_PACKAGE_PATH");
  std::string executable_dir = fs::read_symlink("/proc/self/exe").parent_path().string();
  std::vector<std::string> directories = PackageDirectories();
  ASSERT_EQ(directories.size(), 2u);
  EXPECT_EQ(directories[0], executable_dir + "/packages");
  // The installed directory: "../lib/brivant", or another library directory
  // the build was configured with.
  std::string installed_start = executable_dir + "/../";
  EXPECT_EQ(directories[1].substr(0, installed_start.size()), installed_start);
  EXPECT_TRUE(directories[1].ends_with("/brivant")) << directories[1];
}

}  // namespace
}  // namespace brivant::host
