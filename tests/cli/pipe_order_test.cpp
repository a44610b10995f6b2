// The order of the lines `brivant` writes and the output of the programs it
// starts, when standard output is a pipe and so fully buffered: a build log
// read from a pipe must tell which action a program's complaint belongs to.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/support/test_host.h"

namespace brivant {
namespace {

TEST(PipeOrder, LinesLoggedBeforeAProgramStartsComeBeforeItsOutput) {
  testing::ScopedTempDir temp;
  // The program's standard error is inherited, so it shares the pipe.
  testing::WriteBytes(temp.Join("p.bvproj"),
                      "<Project><Actions><Action Class=\"TRunDosCMDAction\">"
                      "<Property Name=\"Command\">echo from-child &gt;&amp;2</Property>"
                      "<Property Name=\"RedirectStdErr\">False</Property>"
                      "</Action></Actions></Project>");
  std::string command = "cd '" + temp.path() + "' && env -u BRIVANT_PACKAGE_PATH '" + BRIVANT_EXE +
                        "' run p.bvproj 2>&1";
  FILE* pipe = ::popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string out;
  char buffer[4096];
  for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, got);
  EXPECT_EQ(::pclose(pipe), 0);
  EXPECT_EQ(out.substr(0, out.find("summary:")), "== Run DOS Command / Batch File\nfrom-child\n");
}

}  // namespace
}  // namespace brivant
