// What `uci show` prints with quotes, brought to the form without: in whatever pieces it comes.

#include "core/command/dialect.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>

#include "core/command.hpp"
#include "core/enterprise.hpp"
#include "tests/unit/scripted_shell.hpp"

using namespace zol;

namespace {

std::string plain(const char *command, const std::string &output, size_t piece) {
  Unquoter unquoter(command);
  std::string result;
  for (size_t i = 0; i < output.size(); i += piece) {
    std::string bytes = output.substr(i, piece);
    bytes.resize(unquoter.apply(bytes.data(), bytes.size()));
    result += bytes;
  }
  return result;
}

/// Leaves the dialect as it was.
class Dialect : public testing::Test {
 protected:
  void SetUp() override {
    unsetenv("ZOLARC_UCI");
    set_uci_dialect(UciDialect::quoted);
  }
  void TearDown() override {
    unsetenv("ZOLARC_UCI");
    set_uci_dialect(UciDialect::plain);
  }
};

TEST_F(Dialect, Unquotes) {
  const std::string long_text(300, '\'');
  std::string long_quoted;
  for (size_t i = 0; i < long_text.size(); ++i) long_quoted += "'\\''";
  const std::tuple<const char *, std::string, std::string> cases[] = {
      {"uci show a.b.c", "a.b.c='6'\n", "a.b.c=6\n"},
      {"uci show a.b.c", "a.b.c=''\n", "a.b.c=\n"},
      {"uci show a", "a.b=type\na.b.c='my net'\na.@t[0]=t\na.@t[0].o='x=y'\n",
       "a.b=type\na.b.c=my net\na.@t[0]=t\na.@t[0].o=x=y\n"},
      {"uci show -q a.b.c", "a.b.c='it'\\''s'\n", "a.b.c=it's\n"},
      {"uci show a.b.c", "a.b.c=''\\'''\n", "a.b.c='\n"},
      {"uci show a.b.c", "a.b.c='say \"hi\" \\n \xff'\n", "a.b.c=say \"hi\" \\n \xff\n"},
      {"uci show a.b.c", "a.b.c='one' 'two words' 'it'\\''s'\n", "a.b.c=one two words it's\n"},
      {"uci show a.b.c;uci show a.b.d", "a.b.c='1'\na.b.d='2'\n", "a.b.c=1\na.b.d=2\n"},
      {"uci show a | grep c", "a.b.c='6'\na.b.cc='7'", "a.b.c=6\na.b.cc=7"},
      {"uci show a.b.c", "a.b.c='" + long_quoted + "' '" + long_quoted + "'\n",
       "a.b.c=" + long_text + " " + long_text + "\n"},
      // A value of several lines stays one; a filter tears it apart.
      {"uci show a", "a.b.c='one\na.b.d=two'\na.b.e='3'\n", "a.b.c=one a.b.d=two\na.b.e=3\n"},
      {"uci show a | grep x", "a.b.c='one x\na.b.e='3x'\n", "a.b.c=one x\na.b.e=3x\n"},
      // What other commands print is not touched.
      {"uci get a.b.c", "'a' 'b'\n", "'a' 'b'\n"},
      {"iwinfo ath0 info", "ESSID='x'\n", "ESSID='x'\n"},
  };
  for (const auto &[command, printed, read] : cases) {
    for (const size_t piece : {1U, 2U, 7U, 4096U}) EXPECT_EQ(plain(command, printed, piece), read) << piece;
  }
}

TEST_F(Dialect, ThePlainOneKeepsEveryByte) {
  const std::string printed = "wireless.wifi0.ssid='quotes' that 'are meant'\n";
  const auto read = [&] { return plain("uci show wireless", printed, 4096); };
  EXPECT_NE(read(), printed);
  setenv("ZOLARC_UCI", "plain", 1);
  EXPECT_EQ(read(), printed);
  set_uci_dialect(UciDialect::plain);
  setenv("ZOLARC_UCI", "anything", 1);
  EXPECT_EQ(read(), printed);
  setenv("ZOLARC_UCI", "quoted", 1);
  EXPECT_NE(read(), printed);
}

TEST_F(Dialect, IsReadThroughByEveryReader) {
  ScriptedShell shell;
  shell.answers("uci show a.b.c", "a.b.c='" + std::string(150, 'x') + "' 'y'\n");
  CommandOutput output("uci show a.b.c");
  std::string read;
  while (output.next_without_newline()) read += output.line();
  EXPECT_EQ(read, "a.b.c=" + std::string(150, 'x') + " y");
}

TEST_F(Dialect, TheStartLearnsIt) {
  const std::string by_name = "uci show snmpd.cfg10e48a.enterpriseid";
  const std::string by_place = "uci show snmpd.@system[0].enterpriseid";
  struct Case {
    const char *told, *named, *placed;
    size_t commands;
    int32_t number;
    const char *section;
  };
  const Case cases[] = {
      {nullptr, "snmpd.cfg10e48a.enterpriseid=4711\n", "", 1, 4711, "cfg10e48a"},
      {nullptr, "snmpd.main=snmpd\nsnmpd.main.trapport=162\n", "snmpd.x.y='9'\n", 1, 0, "cfg10e48a"},
      {nullptr, "snmpd.cfg10e48a.enterpriseid='4711'\n", "", 1, 4711, "@system[0]"},
      {nullptr, "", "snmpd.cfg08e48a.enterpriseid='4711'\n", 2, 4711, "@system[0]"},
      {nullptr, "", "snmpd.cfg08e48a.enterpriseid=4711\n", 2, 0, "cfg10e48a"},
      {nullptr, "", "", 2, 0, "cfg10e48a"},
      {"plain", "", "snmpd.cfg08e48a.enterpriseid='4711'\n", 1, 0, "cfg10e48a"},
      {"plain", "snmpd.cfg10e48a.enterpriseid='4711'\n", "", 1, 0, "cfg10e48a"},
      {"quoted", "", "snmpd.cfg08e48a.enterpriseid='4711'\n", 2, 4711, "@system[0]"},
      {"quoted", "snmpd.cfg10e48a.enterpriseid='4711'\n", "", 1, 4711, "@system[0]"},
  };
  for (const Case &each : cases) {
    set_uci_dialect(UciDialect::plain);
    each.told == nullptr ? unsetenv("ZOLARC_UCI") : setenv("ZOLARC_UCI", each.told, 1);
    ScriptedShell shell;
    shell.answers(by_name, each.named).answers(by_place, each.placed);
    // A second start finds what the first one found.
    for (int start = 0; start < 2; ++start) {
      snmp_enterprise_oid = 0;
      learn_enterprise();
      EXPECT_EQ(snmp_enterprise_oid, each.number) << each.named << each.placed;
      EXPECT_STREQ(agent_section(), each.section) << each.named << each.placed;
      EXPECT_EQ(shell.commands().size(), each.commands) << each.named << each.placed;
    }
  }
}

}  // namespace
