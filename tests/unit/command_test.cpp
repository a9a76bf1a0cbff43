// The runners and the line reader, with real processes.

#include "core/command.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "core/clock.hpp"
#include "core/command/counters.hpp"
#include "core/command/late.hpp"
#include "core/command/request.hpp"
#include "core/enterprise.hpp"
#include "core/net_snmp.hpp"
#include "mib/clients/clients.hpp"
#include "tests/unit/scripted_shell.hpp"
#include "tests/unit/switched.hpp"

namespace {

namespace fs = std::filesystem;

/// A folder that a command leaves its traces in.
class Runners : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "zolarc-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    std::ofstream(folder_ / "tell") << "#!/bin/sh\nfor a in \"$0\" \"$@\"; do echo \"[$a]\"; done > " +
                                           (folder_ / "said.new").string() + "\nmv " + (folder_ / "said.new").string() +
                                           " " + said().string() + "\n";
    chmod((folder_ / "tell").c_str(), 0700);
  }
  void TearDown() override { fs::remove_all(folder_); }

  [[nodiscard]] fs::path said() const { return folder_ / "said"; }
  [[nodiscard]] std::string tell() const { return (folder_ / "tell").string(); }

  /// What the program was called with; waits for it, since a detached one may take its time.
  [[nodiscard]] std::string heard() const {
    for (int i = 0; i < 3000 && !fs::exists(said()); ++i) msleep(10);
    std::ostringstream text;
    text << std::ifstream(said()).rdbuf();
    return text.str();
  }

  fs::path folder_;
};

TEST_F(Runners, SplitAtWhiteSpaceWithoutQuoting) {
  const std::string words = "[" + tell() + "]\n[a]\n['b]\n[c']\n[$HOME;]\n";
  const std::string command = tell() + "\ta  'b c'\n$HOME; ";
  testing::internal::CaptureStderr();
  EXPECT_EQ(run_script("%s", command.c_str()), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), command + "\n");
  EXPECT_EQ(heard(), words);

  fs::remove(said());
  EXPECT_EQ(run_script_background("%s", command.c_str()), 0);
  EXPECT_EQ(heard(), words);

  fs::remove(said());
  EXPECT_EQ(RunScript(command.c_str()), 0);
  EXPECT_EQ(heard(), words);
}

TEST_F(Runners, SystemGoesThroughTheShell) {
  EXPECT_EQ(run_system("%s 'b c' > /dev/null; exit 3", tell().c_str()), 0);
  EXPECT_EQ(heard(), "[" + tell() + "]\n[b c]\n");
}

TEST_F(Runners, BackgroundLeavesNoChildAndTellsThePid) {
  const int pid = run_script_background_return_pid("%s", tell().c_str());
  EXPECT_GT(pid, 0);
  EXPECT_NE(heard(), "");
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was left to be waited for";
}

TEST_F(Runners, ACommandThatDoesNotFitIsNeitherRunNorCut) {
  struct Runner {
    const char *name;
    int (*run)(const char *, ...);
    bool counts_words;
    int refusal;
  };
  const Runner runners[] = {{"run_script", run_script, true, -1},
                            {"run_system", run_system, false, 0},
                            {"run_script_background", run_script_background, true, -1},
                            {"run_script_background_return_pid", run_script_background_return_pid, true, -1}};
  // An old agent's library would say that nobody has told it where to log.
  snmp_enable_stderrlog();
  const std::string longest = tell() + std::string(255 - tell().size(), ' ');
  std::string many = tell();
  for (int i = 0; i < 31; ++i) many += " a";
  for (const Runner &runner : runners) {
    SCOPED_TRACE(runner.name);
    fs::remove(said());
    testing::internal::CaptureStderr();
    EXPECT_EQ(runner.run("%s", (longest + " ").c_str()), runner.refusal);
    if (runner.counts_words) {
      EXPECT_EQ(runner.run("%s a", many.c_str()), runner.refusal);
    }
    const std::string complaints = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(complaints.begin(), complaints.end(), '\n'), runner.counts_words ? 2 : 1) << complaints;
    EXPECT_FALSE(fs::exists(said()));

    EXPECT_NE(runner.run("%s", longest.c_str()), -1);
    EXPECT_NE(heard(), "");
    fs::remove(said());
    EXPECT_NE(runner.run("%s", many.c_str()), -1);
    EXPECT_NE(heard(), "");
  }
  fs::remove(said());
  EXPECT_EQ(RunScript((many + " a b").c_str()), 0) << "here they do not count";
  EXPECT_NE(heard(), "");
}

TEST_F(Runners, TheAgentsDescriptorsStayWithTheAgent) {
  const int socket = open("/dev/null", O_RDONLY);
  const std::string present = "test -e /proc/self/fd/" + std::to_string(socket) + " && " + tell() + " leaked";
  std::ofstream(folder_ / "look") << "#!/bin/sh\n" << present << "\ntouch " << (folder_ / "looked").string() << "\n";
  chmod((folder_ / "look").c_str(), 0700);
  const std::string look = (folder_ / "look").string();
  const std::pair<const char *, std::function<void()>> starts[] = {
      {"run_script", [&] { run_script("%s", look.c_str()); }},
      {"run_system", [&] { run_system("%s", look.c_str()); }},
      {"run_script_background", [&] { run_script_background("%s", look.c_str()); }},
      {"run_script_background_return_pid", [&] { run_script_background_return_pid("%s", look.c_str()); }},
      {"run_words", [&] { zol::run_words(look.c_str()); }},
      {"CommandOutput", [&] { zol::CommandOutput("%s", look.c_str()).next(); }},
  };
  for (const auto &[name, start] : starts) {
    SCOPED_TRACE(name);
    fcntl(socket, F_SETFD, 0);
    start();
    for (int i = 0; i < 3000 && !fs::exists(folder_ / "looked"); ++i) msleep(10);
    EXPECT_TRUE(fs::remove(folder_ / "looked"));
    EXPECT_FALSE(fs::exists(said()));
  }
  close(socket);
}

TEST_F(Runners, BlanksStartNothingAndAMissingProgramIsSilent) {
  for (const char *command : {" \t\n", "", "/nonexistent/program a"}) {
    EXPECT_EQ(RunScript(command), 0);
    EXPECT_EQ(run_script("%s", command), 0);
    EXPECT_EQ(run_script_background("%s", command), 0);
    const int pid = run_script_background_return_pid("%s", command);
    EXPECT_TRUE(*command == '/' ? pid > 0 : pid == 0) << pid;
  }
}

TEST(LineReader, CutsLinesAsTheyAreReadAndDropsTheLastCharacter) {
  const std::tuple<const char *, std::string, std::vector<std::string>> cases[] = {
      {"nothing", "", {}},
      {"a line", "a=b\n", {"a=b"}},
      {"no newline at the end", "abc", {"ab"}},
      {"an empty line", "\nx\n", {"", "x"}},
      {"127 characters and a newline", std::string(127, 'a') + "\n", {std::string(126, 'a'), ""}},
      {"128 characters", std::string(128, 'a') + "\n", {std::string(126, 'a'), "a"}},
      {"a NUL at the start of a line", std::string("\0b\nc\n", 5), {"", "c"}},
  };
  for (const auto &[what, printed, expected] : cases) {
    SCOPED_TRACE(what);
    ScriptedShell shell;
    shell.answers("print 7", printed);
    zol::CommandOutput output("print %d", 7);
    std::vector<std::string> lines;
    while (output.next()) lines.emplace_back(output.line());
    EXPECT_EQ(lines, expected);
  }
}

TEST(LineReader, AnswersNothingWhenTheCommandCannotBeStarted) {
  ScriptedShell shell;
  shell.cannot_start();
  testing::internal::CaptureStderr();
  for (int i = 0; i < 3; ++i) {
    zol::CommandOutput output("anything");
    EXPECT_FALSE(output);
    EXPECT_FALSE(output.next());
    EXPECT_STREQ(output.line(), "");
  }
  const std::string complaint = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(complaint.begin(), complaint.end(), '\n'), 1) << "one line, not a flood: " << complaint;
}

// What the engine does beyond the texts it is given, with real processes.

std::string output_of(const std::string &command) {
  zol::CommandOutput<4096> output("%-s", command.c_str());
  std::string all;
  while (output.next_without_newline()) all += output.line();
  return all;
}

TEST(Start, AShellIsStartedOnlyForItsSyntax) {
  const std::tuple<const char *, std::string, uint32_t> cases[] = {
      {"echo a-b_c.d/e:f@g=h,i+j%k[0]  l ", "a-b_c.d/e:f@g=h,i+j%k[0] l", 0},
      {"echo 'a  b'", "a  b", 1},
      {"echo a;echo b", "ab", 1},
      {"echo a | cat", "a", 1},
      {"echo $((1+2))", "3", 1},
      {"X=y env", "", 1},
      {"no-such-program-here a", "", 0},
      {"no-such-program-here 'a'", "", 1},
  };
  for (const auto &[command, expected, shells] : cases) {
    SCOPED_TRACE(command);
    const uint32_t before = zol::command_counters.shells;
    const std::string output = output_of(command);
    EXPECT_EQ(expected.empty() ? "" : output, expected);
    EXPECT_EQ(zol::command_counters.shells - before, shells);
  }
}

TEST(Start, TheAgentsSignalsStayWithTheAgent) {
  signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(output_of("grep SigIgn: /proc/self/status"), "SigIgn:\t0000000000000000");
  EXPECT_EQ(output_of("yes | head -n 1"), "y");
  signal(SIGPIPE, SIG_DFL);
}

/// How long `action` takes, in seconds.
double seconds_of(const std::function<void()> &action) {
  const int64_t begin = zol::monotonic_ms();
  action();
  return static_cast<double>(zol::monotonic_ms() - begin) / 1000;
}

TEST(Deadline, ALateCommandIsEndedAndNotStartedAgain) {
  zol::late::forget_all();
  const Switched deadline("zolarcDeadline", 1);
  const zol::Request request("anything");
  const auto is_late = [](const char *command) {
    zol::CommandOutput output("%-s", command);
    return !output.next() && output.late();
  };
  EXPECT_GE(seconds_of([&] { EXPECT_TRUE(is_late("sleep 60.5")); }), 1);
  EXPECT_TRUE(request.late());
  const uint32_t started = zol::command_counters.started;
  EXPECT_LT(seconds_of([&] { EXPECT_TRUE(is_late("sleep 60.5")); }), 0.5) << "the same text again";
  EXPECT_EQ(zol::command_counters.started, started);
  EXPECT_LT(seconds_of([&] {
              for (int i = 0; i < 100; ++i) EXPECT_TRUE(is_late(("sleep 7" + std::to_string(i)).c_str()));
            }),
            10)
      << "a hundred others of the same program";
  EXPECT_EQ(output_of("echo healthy"), "healthy");
  zol::late::forget_all();
}

TEST(Deadline, WhatWasPrintedCountsWhoeverLivesOn) {
  EXPECT_LT(seconds_of([] { EXPECT_EQ(output_of("sleep 30 2>&- & echo left behind"), "left behind"); }), 20);
  EXPECT_LT(seconds_of([] { EXPECT_EQ(output_of("echo closed; exec >&- 2>&-; sleep 30"), "closed"); }), 20);
  const std::string endless = output_of("yes");
  EXPECT_GT(endless.size(), 100'000U);
  EXPECT_LE(endless.size(), 262'144U);
}

TEST(Guard, ATextArrivesAsItIsWhateverStandsAroundIt) {
  const Switched guard("zolarcGuard", 1);
  const std::string payloads[] = {"p$ss \"w'rd", "`touch x`", "$(touch x)", "a;touch x", "a&b|c>d<e", "*?[a]",
                                  "~root",       "-n",        "\\\\'",      "!#{}()",    "",          " two  blanks ",
                                  "\xc3\xa9"};
  for (const std::string &payload : payloads) {
    SCOPED_TRACE(payload);
    const char *text = payload.c_str();
    const auto first_line = [](zol::LineReader &&output) {
      return output.next_without_newline() ? std::string(output.line()) : std::string();
    };
    EXPECT_EQ(first_line(zol::CommandOutput("printf '[%%s]' '%s'", text)), "[" + payload + "]");
    EXPECT_EQ(first_line(zol::CommandOutput("printf \"[%%s]\" \"%s\"", text)), "[" + payload + "]");
    EXPECT_EQ(first_line(zol::CommandOutput("printf '[%%s]' =%s", text)), "[=" + payload + "]");
    EXPECT_EQ(first_line(zol::CommandOutput("printf '[%%s]' \"it's \\\"\"%s", text)), "[it's \"" + payload + "]");
    for (const char character : payload) {
      EXPECT_EQ(first_line(zol::CommandOutput("printf '[%%s]' =%c", character)), std::string("[=") + character + "]");
    }
  }
}

TEST(Guard, AnOrdinaryTextGivesTheUsualCommandAndTheLibrarysOwnIsLeftAlone) {
  for (const int on : {0, 1}) {
    const Switched guard("zolarcGuard", on);
    ScriptedShell shell;
    zol::shell("uci set %-s=%s;x \"%s\" '%s' %%%c %d %.*s %.2s %ld %04lx %zu", "a.@b[0].c", "v_1./:@=,+%-", "two words",
               "it", 'c', -1, 2, "abc", "abc", LONG_MIN, 171L, size_t{7});
    EXPECT_EQ(shell.commands(),
              std::vector<std::string>{"uci set a.@b[0].c=v_1./:@=,+%-;x \"two words\" 'it' %c -1 ab ab " +
                                       std::to_string(LONG_MIN) + " 00ab 7"});
  }
}

TEST_F(Runners, AGuardedTextStaysOneWord) {
  const Switched guard("zolarcGuard", 1);
  EXPECT_EQ(run_script("%-s a %s c", tell().c_str(), "b ' $x"), 0);
  EXPECT_EQ(heard(), "[" + tell() + "]\n[a]\n[b ' $x]\n[c]\n");
}

TEST(CommandLine, GrowsWithoutABound) {
  ScriptedShell shell;
  zol::CommandLine line;
  std::string expected;
  for (int i = 0; i < 3000; ++i) {
    line.append("uci add_list x=%d;", i);
    expected += "uci add_list x=" + std::to_string(i) + ";";
  }
  line.run();
  line.clear();
  line.append("b");
  line.run();
  EXPECT_EQ(shell.commands(), (std::vector<std::string>{expected, "b"}));
}

TEST(Enterprise, IsReadFromTheFirstLineThatHoldsAValue) {
  const std::tuple<std::string, int, int32_t> cases[] = {{"snmpd.cfg10e48a.enterpriseid=4711\n", 1, 4711},
                                                         {"snmpd.cfg10e48a.enterpriseid='4711'\n", 1, -7},
                                                         {"", 0, -7},
                                                         {"noise\nx=12\ny=13\n", 2, 12},
                                                         {"noise\n", 1, -7}};
  for (const auto &[output, lines, read] : cases) {
    ScriptedShell shell;
    shell.answers("uci show snmpd.cfg10e48a.enterpriseid", output);
    int32_t number = -7;
    EXPECT_EQ(get_snmp_enterprise_oid(&number), lines) << output;
    EXPECT_EQ(number, read) << output;
  }
  ScriptedShell shell;
  shell.cannot_start();
  int32_t number = -7;
  EXPECT_EQ(get_snmp_enterprise_oid(&number), -1);
  EXPECT_EQ(number, ZOL_FALLBACK_ENTERPRISE);
}

}  // namespace
