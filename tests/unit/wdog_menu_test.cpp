#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "core/conf_file.hpp"
#include "core/label.hpp"
#include "tests/unit/menu_values.hpp"

namespace {

using wdog::Menu;
using wdog::Place;
using Writes = std::vector<std::pair<MenuValues::Key, std::string>>;

class MenuTest : public testing::Test {
 protected:
  /// @return how many keys were refused
  int play(const std::vector<std::string> &keys) {
    int refused = 0;
    for (const std::string &key : keys) {
      menu_.key(key.c_str());
      refused += menu_.has_refused() ? 1 : 0;
    }
    return refused;
  }
  MenuValues device_;
  Menu menu_{device_.backend()};
};

TEST_F(MenuTest, WritesOnlyWhatChangedAndOnlyWhenItIsSaved) {
  device_.values = {{{Place::schedule_switch, 0}, "n"},
                    {{Place::schedule, 0}, "--by-hour=09"},
                    {{Place::ping, 0}, "3"},
                    {{Place::host_name, 0}, "ap"},
                    {{Place::radio_channel, 1}, "44"},
                    {{Place::read_community, 0}, "public"}};
  EXPECT_EQ(play({"1",          "6:y", "1:time", "2",    "03:30", "~", "2", "1:0",  "2:a.example ::1", "~", "3", "1:ap",
                  "4:10.0.0.1", "~",   "4",      "4:36", "1:n",   "~", "5", "2:a:b"}),
            0);
  EXPECT_TRUE(device_.writes.empty());
  EXPECT_TRUE(menu_.has_unsaved());
  EXPECT_EQ(play({"s"}), 0);
  EXPECT_TRUE(menu_.has_saved() && menu_.has_changed_monitor() && !menu_.has_unsaved());
  const Writes expected = {
      {{Place::schedule, 0}, "--by-time=03:30"}, {{Place::schedule_switch, 0}, "y"}, {{Place::ping, 0}, "0"},
      {{Place::ping, 1}, "a.example ::1"},       {{Place::gateway, 0}, "10.0.0.1"},  {{Place::radio_switch, 0}, "n"},
      {{Place::radio_channel, 1}, "36"},         {{Place::read_community, 0}, "a:b"}};
  EXPECT_EQ(device_.writes, expected);
  EXPECT_EQ(play({"s", "~", "1", "1:hours", "3:9", "s"}), 0);
  EXPECT_EQ(device_.writes.size(), expected.size() + 1);
  EXPECT_EQ((device_.values[{Place::schedule, 0}]), "--by-hour=9");
}

TEST_F(MenuTest, RefusesWhatIsWrongAndChangesNothing) {
  // Keys with '|' between, of which the last one is refused.
  // clang-format off
  const std::string refused[] = {
      "0", "7", "1:y", "x", "-1", "1;2", "99999999999999999999", "?s", "1|4", "1|5:x", "1|7", "1|6:Y", "1|6:", "1|1:day",
      "1|2:24:00", "1|2:3:30", "1|2:99:99", "1|3:0", "1|3:24", "1|3|", "1|6x", "2|1:101", "2|1:-1", "2|2:a b c d e",
      "2|2: a", "2|2:a;b", "2|3:0", "2|4:61", "2|5:3601", "2|6:halt", "2|7:bin/x", "2|8:101", "3|1:", "3|1:a\nb",
      "3|1:" + std::string(33, 'a'), "3|2:1.2.3", "3|2:1.2.3.256", "3|3:255.0.255.0", "4|5:y", "4|2:0", "4|2:256", "5|2:",
      "5|6:65536", "6|1"};
  // clang-format on
  for (const std::string &keys : refused) {
    Menu menu(device_.backend());
    for (size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
      EXPECT_FALSE(menu.has_refused()) << keys;
      end = keys.find('|', at);
      menu.key(keys.substr(at, end - at).c_str());
    }
    EXPECT_TRUE(menu.has_refused()) << keys;
    EXPECT_NE(screen_of(menu).find("\n! "), std::string::npos);
    EXPECT_FALSE(menu.has_unsaved()) << keys;
  }
  device_.can_write = false;
  EXPECT_EQ(play({"1", "2:03:30", "6:y", "s", "~", "s"}), 2);
  EXPECT_TRUE(menu_.has_unsaved()) << "what was not saved stays";
  device_.can_write = true;
  EXPECT_EQ(play({"s"}), 0);
  EXPECT_EQ(device_.writes.size(), 2U);
}

TEST_F(MenuTest, SwitchesOnOnlyByASchedule) {
  EXPECT_EQ(play({"1", "6:y", "s"}), 1);
  EXPECT_TRUE(device_.writes.empty());
  device_.values[{Place::schedule, 0}] = "--by-time=99:99";
  EXPECT_EQ(play({"1:hours", "s", "3:5", "s"}), 1);
  EXPECT_EQ((device_.values[{Place::schedule, 0}]), "--by-hour=5");
  EXPECT_EQ((device_.values[{Place::schedule_switch, 0}]), "y");
}

TEST_F(MenuTest, ShowsScreens) {
  device_.values = {{{Place::schedule_switch, 0}, "y"},
                    {{Place::schedule, 0}, "--by-time=03:30"},
                    {{Place::write_community, 0}, "secret"},
                    {{Place::radio_channel, 0}, "a\x1b[2Jb"}};
  device_.radios = 1;
  const std::string top =
      "[~] configuration\n1. task monitor\n2. ping watchdog\n3. names and addresses\n4. radios\n5. SNMP service\n"
      "6. state\n\n";
  EXPECT_EQ(screen_of(menu_), top);
  play({" 1 "});
  EXPECT_EQ(screen_of(menu_),
            "[1] task monitor\n1. kind (time, hours): time\n2. time of the reboot: 03:30\n3. hours between reboots: \n"
            "4. next reboot: --by-time=03:30\n5. last reboot: --by-time=03:30\n6. switch (y, n): y\n\n");
  play({"6:n", "~", "4"});
  EXPECT_EQ(screen_of(menu_), "[4] radios\n1. wifi0 switch (y, n): \n2. wifi0 channel: a?[2Jb\n\n");
  play({"~", "5"});
  EXPECT_NE(screen_of(menu_).find("\n2. read community: \n3. write community: *\n"), std::string::npos);
  play({"?", "", "~"});
  EXPECT_EQ(screen_of(menu_), top);
  play({"e"});
  EXPECT_TRUE(menu_.has_ended());
}

TEST(Label, IsTheTextOfTheLanguageOrEnglish) {
  char folder[] = "/tmp/zolarc-XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  const std::string path = folder;
  const auto write = [&](const char *name, const std::string &text) { std::ofstream(path + name) << text; };
  confAlias((path + "/en").c_str(), "language");
  confAlias((path + "/jp").c_str(), "label");
  const std::string sys = path + "/sys.conf";
  zol::name_language_in(sys.c_str());
  write("/en", "wdog.1=tasks\n[x]\nown=mine\n");
  write("/jp",
        "wdog.1=\xe7\x9b\xa3\xe8\xa6\x96\nwdog.2=\x80\nwdog.3=a\x07\nwdog.4=\nwdog.5=\xc2\x85\nwdog.6=\xed\xa0\x80\n");
  struct Case {
    const char *sys;
    const char *environment;
    const char *key;
    const char *text;
  };
  const Case cases[] = {
      {"LANGUAGE=en\n", "ja", "wdog.1", "tasks"},
      {"LANGUAGE=en\n", "ja", "own", "mine"},
      {"LANGUAGE=en\n", "ja", "none", "none"},
      {"LANGUAGE=ja\n", "", "wdog.1", "\xe7\x9b\xa3\xe8\xa6\x96"},
      {"LANG=JP\n", "en", "wdog.1", "\xe7\x9b\xa3\xe8\xa6\x96"},
      {"", "ja_JP.UTF-8", "wdog.1", "\xe7\x9b\xa3\xe8\xa6\x96"},
      {"", "C", "wdog.1", "task monitor"},
      {"LANGUAGE=../en\n", "en", "wdog.1", "task monitor"},
      {"LANGUAGE=jp\n", "", "wdog.2", "ping watchdog"},
      {"LANGUAGE=jp\n", "", "wdog.3", "names and addresses"},
      {"LANGUAGE=jp\n", "", "wdog.4", "radios"},
      {"LANGUAGE=jp\n", "", "wdog.5", "SNMP service"},
      {"LANGUAGE=jp\n", "", "wdog.6", "state"},
      {"LANGUAGE=xx\n", "", "wdog.1.6", "switch (y, n)"},
  };
  for (const Case &expected : cases) {
    write("/sys.conf", expected.sys);
    setenv("LANG", expected.environment, 1);
    EXPECT_STREQ(zol_label(expected.key), expected.text) << expected.sys << expected.key;
  }
  write("/sys.conf", "LANGUAGE=en\n");
  const char *kept = zol_label("wdog.1");
  write("/en", "wdog.1=other\n");
  EXPECT_STREQ(zol_label("wdog.1"), "other");
  EXPECT_STREQ(kept, "tasks") << "what was handed out stays";
  for (const char *name : {"/en", "/jp", "/sys.conf", ""}) remove((path + name).c_str());
}

}  // namespace
