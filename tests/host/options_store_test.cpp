#include "host/options_store.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/support/scoped_env.h"
#include "tests/support/test_host.h"

namespace brivant::host {
namespace {

class OptionsStoreTest : public ::testing::Test {
 protected:
  std::string Read(const std::string& section, const std::string& key) {
    return store_.ReadString(section, key, "(default)");
  }
  void Write(const std::string& section, const std::string& key, const std::string& value) {
    std::string error;
    ASSERT_TRUE(store_.WriteString(section, key, value, &error)) << error;
  }

  testing::ScopedTempDir temp_;
  std::string path_ = temp_.Join("options.ini");
  IniOptionsStore store_{path_};
};

TEST_F(OptionsStoreTest, ReadsTolerantly) {
  testing::WriteBytes(path_,
                      "; written by hand\r\n"
                      "orphan=before any section\r\n"
                      "[Robocopy]\r\n"
                      "  Location = /opt/robo/robocopy  \r\n"
                      "# Location=commented out\n"
                      "not a value line\n"
                      "Location=second one loses\n"
                      "Empty=\n"
                      "[Other]\n"
                      "Key=other value\n"
                      "[robocopy]\n"
                      "Extra=in a repeated section\n");
  struct Case {
    const char* section;
    const char* key;
    const char* expected;
  };
  const Case cases[] = {
      {"Robocopy", "Location", "/opt/robo/robocopy"},
      {"ROBOCOPY", "location", "/opt/robo/robocopy"},
      {"Robocopy", "Empty", ""},
      {"Other", "Key", "other value"},
      {"Robocopy", "Key", "(default)"},
      {"Robocopy", "Extra", "(default)"},
      {"Missing", "Location", "(default)"},
      {"Robocopy", "orphan", "(default)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.section) + "." + c.key);
    EXPECT_EQ(Read(c.section, c.key), c.expected);
  }
}

TEST_F(OptionsStoreTest, MissingFileGivesDefaults) {
  EXPECT_EQ(Read("Robocopy", "Location"), "(default)");
}

TEST_F(OptionsStoreTest, WriteCreatesFileAndDirectories) {
  IniOptionsStore nested(temp_.Join("config/brivant/options.ini"));
  std::string error;
  ASSERT_TRUE(nested.WriteString("Robocopy", "Location", "/usr/bin/robocopy", &error)) << error;
  EXPECT_EQ(testing::ReadBytes(temp_.Join("config/brivant/options.ini")),
            "[Robocopy]\nLocation=/usr/bin/robocopy\n");
}

TEST_F(OptionsStoreTest, WriteKeepsEverythingElse) {
  testing::WriteBytes(path_,
                      "; options\n"
                      "[Robocopy]\n"
                      "location = old\n"
                      "Retries=3\n"
                      "\n"
                      "[Other]\n"
                      "Key=value\n");
  Write("ROBOCOPY", "Location", "new value");
  Write("Robocopy", "Threads", "8");
  Write("Other", "Key", "changed");
  Write("Third", "A", "1");
  EXPECT_EQ(testing::ReadBytes(path_),
            "; options\n"
            "[Robocopy]\n"
            "location=new value\n"
            "Retries=3\n"
            "Threads=8\n"
            "\n"
            "[Other]\n"
            "Key=changed\n"
            "\n"
            "[Third]\n"
            "A=1\n");
  EXPECT_EQ(Read("robocopy", "LOCATION"), "new value");
}

TEST_F(OptionsStoreTest, WriteRefusesLineBreaksAndLeavesTheFileAlone) {
  testing::WriteBytes(path_, "[Robocopy]\nLocation=a\n");
  std::string error;
  EXPECT_FALSE(store_.WriteString("Robocopy", "Location", "two\nlines", &error));
  EXPECT_EQ(error, "option Robocopy.Location cannot hold a line break");
  EXPECT_EQ(testing::ReadBytes(path_), "[Robocopy]\nLocation=a\n");
}

TEST_F(OptionsStoreTest, WriteFailureNamesThePath) {
  // A regular file where the directory should be.
  testing::WriteBytes(temp_.Join("blocker"), "");
  IniOptionsStore blocked(temp_.Join("blocker/options.ini"));
  std::string error;
  EXPECT_FALSE(blocked.WriteString("Robocopy", "Location", "x", &error));
  EXPECT_EQ(error, temp_.Join("blocker/options.ini") + ": Not a directory");
}

TEST_F(OptionsStoreTest, StoreWithoutPathReadsDefaultsAndRefusesWrites) {
  IniOptionsStore nowhere("");
  EXPECT_EQ(nowhere.ReadString("Robocopy", "Location", "d"), "d");
  std::string error;
  EXPECT_FALSE(nowhere.WriteString("Robocopy", "Location", "x", &error));
  EXPECT_EQ(error, "no options file: none of BRIVANT_OPTIONS, XDG_CONFIG_HOME and HOME is set");
}

TEST(OptionsFilePath, FollowsTheEnvironment) {
  struct Case {
    const char* label;
    std::optional<std::string> brivant_options, xdg_config_home, home;
    std::string expected;
  };
  const Case cases[] = {
      {"explicit file wins", "/etc/bv.ini", "/xdg", "/home/u", "/etc/bv.ini"},
      {"XDG config directory", std::nullopt, "/xdg", "/home/u", "/xdg/brivant/options.ini"},
      {"empty values count as unset", "", "", "/home/u", "/home/u/.config/brivant/options.ini"},
      {"home directory", std::nullopt, std::nullopt, "/home/u",
       "/home/u/.config/brivant/options.ini"},
      {"nothing to go by", std::nullopt, std::nullopt, std::nullopt, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    testing::ScopedEnv options("BRIVANT_OPTIONS", c.brivant_options);
    testing::ScopedEnv xdg_config_home("XDG_CONFIG_HOME", c.xdg_config_home);
    testing::ScopedEnv home("HOME", c.home);
    EXPECT_EQ(OptionsFilePath(), c.expected);
  }
}

}  // namespace
}  // namespace brivant::host
