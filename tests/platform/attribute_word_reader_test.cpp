#include "platform/attribute_word_reader.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "platform/find_files.h"
#include "tests/platform/temp_dir.h"

namespace brivant::platform {
namespace {

namespace fs = std::filesystem;

constexpr int kFilesPerDirectory = 300;
// Enough searches that the reader's thread surely takes part in some: it
// only reads while the searching thread is still at it.
constexpr int kMostRounds = 60;

std::string CurrentDirectory() {
  char buffer[PATH_MAX];
  return ::getcwd(buffer, sizeof buffer) != nullptr ? buffer : "<getcwd failed>";
}

// Two directories with the same names and different words, so that a word
// read in the wrong directory shows.
class AttributeWordReaderTest : public TempDirTest {
 protected:
  void SetUp() override {
    TempDirTest::SetUp();
    for (const char* directory : {"one", "two"}) {
      fs::create_directory(PathOf(directory));
      for (int i = 0; i < kFilesPerDirectory; ++i) {
        const std::string name = std::string(directory) + "/f" + std::to_string(i);
        Put(name, "");
        if (const char* word = StoredText(directory, i)) {
          SetDosAttribute(PathOf(name), std::string(word, TextLength(word)));
        }
      }
    }
  }

  // The word each file holds: none for most; in "two" also Samba's long
  // binary form, which does not fit a first read.
  static const char* StoredText(const std::string& directory, int i) {
    if (directory == "one") {
      if (i % 7 == 3) return "0x4";
      if (i % 11 == 5) return "0x22";
      return nullptr;
    }
    if (i % 5 == 1) return "0x20";
    if (i % 13 == 2) return kLongSystemWord;
    return nullptr;
  }

  static size_t TextLength(const char* word) {
    return word == kLongSystemWord ? sizeof kLongSystemWord : std::strlen(word);
  }

  static uint32_t ExpectedAttributes(const std::string& directory, int i) {
    const char* word = StoredText(directory, i);
    if (word == nullptr) return kFileAttributeNormal;
    if (word == kLongSystemWord) return kFileAttributeSystem;
    return static_cast<uint32_t>(std::stoul(word, nullptr, 16));
  }

  // Searches "one" and "two" in turn through `reader` until its thread has
  // read words, checking every answer. `directory_prefix` is how the
  // directories are named (absolute, or relative to the working directory).
  static void SearchInTurns(AttributeWordReader* reader, const std::string& directory_prefix) {
    for (int round = 0; round < kMostRounds; ++round) {
      for (const std::string directory : {"one", "two"}) {
        OsResult<std::vector<FoundEntry>> found = FindFiles(
            directory_prefix + directory + "/f*", kFindAnyAttribute, FindDetail::kFull, reader);
        ASSERT_TRUE(found.IsOk()) << found.Error().Describe();
        ASSERT_EQ(found.Value().size(), static_cast<size_t>(kFilesPerDirectory));
        for (const FoundEntry& entry : found.Value()) {
          const int i = std::stoi(entry.name.substr(1));
          ASSERT_EQ(entry.attributes, ExpectedAttributes(directory, i))
              << directory << "/" << entry.name << " in round " << round;
        }
      }
      if (reader->WordsReadByHelper() > 0 && round >= 3) return;
    }
  }

  static constexpr char kLongSystemWord[400] = "0x4";
};

// Absolute names, then names relative to the process directory.
TEST_F(AttributeWordReaderTest, ReadsEachWordInItsOwnDirectory) {
  const std::string before = CurrentDirectory();
  for (const std::string& prefix : {root_ + "/", std::string()}) {
    SCOPED_TRACE(prefix);
    if (prefix.empty()) {
      ASSERT_EQ(::chdir(root_.c_str()), 0);
    }
    AttributeWordReader reader;
    SearchInTurns(&reader, prefix);
    EXPECT_GT(reader.WordsReadByHelper(), 0u) << "the reader's thread never took part";
    // The thread moved its own working directory only.
    EXPECT_EQ(CurrentDirectory(), prefix.empty() ? fs::canonical(root_).string() : before);
  }
  ASSERT_EQ(::chdir(before.c_str()), 0);
}

TEST_F(AttributeWordReaderTest, NamesAndKindsSearchesFilterThroughTheReader) {
  AttributeWordReader reader;
  for (int round = 0; round < kMostRounds; ++round) {
    for (const std::string directory : {"one", "two"}) {
      OsResult<std::vector<FoundEntry>> found = FindFiles(
          PathOf(directory + "/*"), kFileAttributeDirectory, FindDetail::kNamesAndKinds, &reader);
      ASSERT_TRUE(found.IsOk()) << found.Error().Describe();
      std::vector<std::string> names;
      for (const FoundEntry& entry : found.Value()) names.push_back(entry.name);
      std::vector<std::string> expected = {".", ".."};
      for (int i = 0; i < kFilesPerDirectory; ++i) {
        uint32_t bits = ExpectedAttributes(directory, i);
        if ((bits & (kFileAttributeHidden | kFileAttributeSystem)) == 0)
          expected.push_back("f" + std::to_string(i));
      }
      std::sort(expected.begin(), expected.end());
      ASSERT_EQ(names, expected) << directory << " in round " << round;
    }
    if (reader.WordsReadByHelper() > 0 && round >= 3) break;
  }
  EXPECT_GT(reader.WordsReadByHelper(), 0u);
}

// Several searching threads share one reader: one at a time has its thread,
// the others read alone, and all get their own answers.
TEST_F(AttributeWordReaderTest, ConcurrentSearchesShareOneReader) {
  AttributeWordReader reader;
  std::vector<std::thread> searchers;
  std::vector<std::string> failures(4);
  for (size_t t = 0; t < failures.size(); ++t) {
    searchers.emplace_back([&, t] {
      const std::string directory = t % 2 == 0 ? "one" : "two";
      for (int round = 0; round < 20; ++round) {
        OsResult<std::vector<FoundEntry>> found =
            FindFiles(PathOf(directory + "/f*"), kFindAnyAttribute, FindDetail::kFull, &reader);
        if (!found.IsOk() || found.Value().size() != static_cast<size_t>(kFilesPerDirectory)) {
          failures[t] = "search of " + directory + " failed";
          return;
        }
        for (const FoundEntry& entry : found.Value()) {
          if (entry.attributes != ExpectedAttributes(directory, std::stoi(entry.name.substr(1)))) {
            failures[t] = directory + "/" + entry.name + " has the wrong attributes";
            return;
          }
        }
      }
    });
  }
  for (std::thread& searcher : searchers) searcher.join();
  for (const std::string& failure : failures) EXPECT_EQ(failure, "");
}

// Under a seccomp filter (here one that refuses unshare, as container
// runtimes set it up) the reader's thread must not move the shared working
// directory: it reads by path instead. Run in a child process, as the
// filter cannot be removed.
TEST_F(AttributeWordReaderTest, WithoutAPrivateDirectoryTheThreadReadsByPath) {
  const std::string before = CurrentDirectory();
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    struct sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_unshare, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    struct sock_fprog program = {static_cast<unsigned short>(std::size(filter)), filter};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
      ::_exit(2);  // no seccomp here: nothing to test
    }
    if (::unshare(CLONE_FS) == 0 || errno != EPERM) ::_exit(3);
    AttributeWordReader reader;
    SearchInTurns(&reader, root_ + "/");
    const bool ok = !::testing::Test::HasFailure() && reader.WordsReadByHelper() > 0 &&
                    CurrentDirectory() == before;
    ::_exit(ok ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "seccomp filters are not available here";
  EXPECT_EQ(WEXITSTATUS(status), 0) << "1: wrong answers, a moved directory or no help; "
                                       "3: unshare was not refused";
}

}  // namespace
}  // namespace brivant::platform
