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

// One search path with every kind of entry: only shared modules with the
// entry load, each once, the first of a name wins, and what cannot be read
// is reported while the rest still loads.
TEST_F(PackageLoaderTest, LoadsEachModuleWithTheEntryOnceAndReportsTheRest) {
  std::string first = MakeDirectory("build");
  std::string second = MakeDirectory("installed");
  std::string winner = CopyPackage(first, "libbvstd.so");
  fs::create_symlink(winner, first + "/liblink.so");
  fs::create_symlink(kPlainLibrary, first + "/libplain.so");
  CopyPackage(first, "libversioned.so.1");
  CopyPackage(first, "notes.txt");
  fs::create_directory(first + "/directory.so");
  testing::WriteBytes(first + "/libbroken.so", "not a shared object");
  CopyPackage(second, "libbvstd.so");
  std::string other = CopyPackage(second, "libother.so");
  testing::WriteBytes(temp_.Join("file"), "");
  PackageLoadResult result =
      LoadPackages({temp_.Join("missing"), first, second, temp_.Join("file")}, registry_);
  EXPECT_EQ(result.loaded, (std::vector<std::string>{winner, other}));
  EXPECT_EQ(registry_.Actions().size(), 4u);
  ASSERT_EQ(result.problems.size(), 2u);
  // The rest of the text is the dynamic loader's ("invalid ELF header", ...).
  EXPECT_TRUE(result.problems[0].starts_with("cannot load package: " + first + "/libbroken.so: "))
      << result.problems[0];
  EXPECT_EQ(result.problems[1], temp_.Join("file") + ": Not a directory");
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
