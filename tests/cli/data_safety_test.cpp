// Real `brivant run` processes killed at random moments, racing each other
// and deleting trees that hold a mount point: the file a build works on is
// never lost, and nothing outside its tree is touched.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/support/test_host.h"

namespace brivant {
namespace {

// Runs `script` with /bin/sh in `dir`, with $B the brivant binary; returns
// its standard output followed by "exit N".
std::string Shell(const std::string& dir, const std::string& script) {
  testing::WriteBytes(dir + "/script.sh", "cd '" + dir + "' && B='" BRIVANT_EXE "'\n" + script);
  std::string output;
  FILE* pipe = ::popen(("/bin/sh '" + dir + "/script.sh' 2>&1; echo exit $?").c_str(), "r");
  char buffer[4096];
  for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
    output.append(buffer, got);
  ::pclose(pipe);
  return output;
}

// A project of one action; each argument is "Property=value".
const char kProjectFunction[] = R"(project() { out=$1; class=$2; shift 2
  { echo "<Project><Actions><Action Class=\"$class\">"
    for p in "$@"; do echo "<Property Name=\"${p%%=*}\">${p#*=}</Property>"; done
    echo "</Action></Actions></Project>"; } >"$out"
}
)";

// --- Data loss and writes outside the target ---

TEST(DataSafety, KilledPrependNeverLeavesTheFileMissing) {
  testing::ScopedTempDir temp;
  std::string output = Shell(temp.path(), "'" BRIVANT_SOAK_SCRIPT "' \"$B\" 10 prepend");
  EXPECT_NE(output.find("\n10 trials, 0 damaged\nexit 0"), std::string::npos) << output;
}

TEST(DataSafety, AppendRacingPrependLosesNoLine) {
  testing::ScopedTempDir temp;
  std::string output = Shell(temp.path(), kProjectFunction + std::string(R"(
head -c 4000000 /dev/zero | tr '\0' 'x' >f.txt
project a.bvproj TBVWriteToTextFileAction FileName=f.txt NewContent='appended %N%'
project p.bvproj TBVWriteToTextFileAction FileName=f.txt NewContent=prepended WriteToPosition=toStart
( for i in $(seq 40); do "$B" run p.bvproj >/dev/null || echo prepend failed; done ) &
for i in $(seq 100); do "$B" run a.bvproj -D N=$i >/dev/null || echo append $i failed; done
wait
echo "$(grep -c '^appended' f.txt) appended, $(grep -c '^prepended' f.txt) prepended"
)"));
  EXPECT_EQ(output, "100 appended, 40 prepended\nexit 0\n");
}

TEST(DataSafety, KilledCopyLeavesNoPartialTarget) {
  testing::ScopedTempDir temp;
  std::string output = Shell(temp.path(), "'" BRIVANT_SOAK_SCRIPT "' \"$B\" 10 copy");
  EXPECT_NE(output.find("copy: 10 trials, 0 damaged   (temporary copies left after the next "
                        "copy: 0)\n10 trials, 0 damaged\nexit 0"),
            std::string::npos)
      << output;
}

// --- Guard rails ---

TEST(DataSafety, TreeDeleteLeavesBindMounts) {
  testing::ScopedTempDir temp;
  if (Shell(temp.path(), "unshare -m true") != "exit 0\n")
    GTEST_SKIP() << "cannot create a mount namespace here (unshare -m), so no bind mount";
  std::string output = Shell(temp.path(), kProjectFunction + std::string(R"(
mkdir -p outside tree/a/mnt && echo keep >outside/keep.txt && echo x >tree/a/x.txt
project d.bvproj TDeleteDirectoryAction FileOrDirectory=tree DeleteTree=True
unshare -m sh -c 'mount --bind outside tree/a/mnt && "$0" run d.bvproj >log.txt; echo brivant $?' "$B"
grep -o 'Leaving mount point[^"]*' log.txt | head -n 1
ls tree/a outside
)"));
  EXPECT_EQ(output,
            "brivant 1\nLeaving mount point tree/a/mnt: another file system is mounted there\n"
            "outside:\nkeep.txt\n\ntree/a:\nmnt\nexit 0\n");
}

}  // namespace
}  // namespace brivant
