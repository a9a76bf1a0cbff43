// The shaper's switch and limits, its packages, and the rules of single clients.

#include "mib/qos/qos.hpp"

#include <gtest/gtest.h>

#include "mib/qos/client_rules.hpp"
#include "mib/stations/stations.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

using zol::qos::Direction;

const std::string list = "uci show qos.Default.classes";
const std::string packages = "qos.Default.classes=Priority Express Normal Bulk\n";

const std::string enabled = "uci show qos.wan.enabled";
const Commands start = {"uci set qos.wan.enabled=1;uci commit qos;/etc/init.d/qos start;/etc/init.d/qos enable"};
const Commands stop = {"uci set qos.wan.enabled=0;uci commit qos;/etc/init.d/qos stop;/etc/init.d/qos disable"};
const std::string upload = "uci show qos.wan.upload";
const std::string download = "uci show qos.wan.download";
const Case shaper[] = {
    {"qos_enabled", 2, enabled, "", stop},
    {"qos_enabled", 1, enabled, "qos.wan.enabled=1\n", start},
    {"qos_enabled", 2, enabled, "qos.wan.enabled=1\nqos.wan.enabled=0\n"},
    {"qos_enabled", 1, enabled, "qos.wan.enabled=1\nqos.wan.enabled=yes\nx\n"},
    {"qos_enabled", 2, enabled, "qos.wan.enabled=11\n"},
    {"qos_bandwidthupload", 900, upload, "qos.wan.upload=900\n", {"uci set qos.wan.upload=900;uci commit qos"}},
    {"qos_bandwidthdownload", 0, download, "", {"uci set qos.wan.download=0;uci commit qos"}},
};

TEST(Qos, TheShaper) { check(shaper); }

TEST(Qos, ThePackages) {
  registered_rows();
  ScriptedShell shell;
  shell.answers(list, packages).answers("uci show qos.Bulk_down.avgrate", "qos.Bulk_down.avgrate=15\n");
  shell.answers("uci show qos.Express.avgrate", "qos.Express.avgrate=30\n");
  EXPECT_EQ(get("bandwidth_package_index", 1), Value(1));
  EXPECT_EQ(shell.commands(), Commands{list});
  EXPECT_EQ(get("bandwidth_package_name", 2), Value("Express"));
  EXPECT_EQ(get("bandwidth_package_name", 4), Value("Low"));
  EXPECT_EQ(get("bandwidth_package_download", 4), Value(15));
  EXPECT_EQ(get("bandwidth_package_upload", 2), Value(30));
  EXPECT_EQ(get("bandwidth_package_upload", 3), Value(0));
  EXPECT_FALSE(get("bandwidth_package_index", 5));
  EXPECT_EQ(shell.commands(), (Commands{"uci show qos.Bulk_down.avgrate", "uci show qos.Express.avgrate",
                                        "uci show qos.Normal.avgrate"}));
  set("bwidthpkg_index", 4);
  EXPECT_EQ(get("bwidthpkg_download"), Value(15));
  shell.commands();
  set("bwidthpkg_index", 2);
  EXPECT_EQ(set("bwidthpkg_upload", 40), 0);
  EXPECT_EQ(shell.commands(), (Commands{list, "uci set qos.Express.avgrate=40;uci commit qos"}));
  EXPECT_EQ(get("bwidthpkg_name"), Value("Express"));
  EXPECT_EQ(set("bwidthpkg_name", "x"), SNMP_ERR_NOTWRITABLE);
  shell.answers(list, "");
  EXPECT_EQ(get("bandwidth_package_index", 1), Value(1));
  EXPECT_EQ(get("bandwidth_package_name", 2), Value("name2"));
  EXPECT_EQ(get("bandwidth_package_name", 4), Value("name2")) << "a row without a package repeats the name last held";
}

TEST(Qos, WithoutASelectedClientNothingIsSet) {
  for (const char *object : {"bandwidth_download", "bandwidth_upload"}) EXPECT_EQ(set(object, 1), SNMP_ERR_WRONGVALUE);
}

TEST(Qos, APackageNamedLikeACommandIsNotRun) {
  for (const std::string name : {"a;touch${IFS}/x", "$(id)", "`id`", "a|b", "a&", "<a", "a>x", "a*", "[a]", "?", "'a",
                                 "\"a", "a\\", "{a,b}", "#", "~", "a\tb", "(a)", "!a"}) {
    SCOPED_TRACE(name);
    ScriptedShell shell;
    shell.answers(list, "qos.Default.classes=" + name + " Express\n");
    EXPECT_EQ(set("bwidthpkg_index", 1), 0);
    EXPECT_EQ(get("bwidthpkg_download"), Value(0));
    EXPECT_EQ(set_bandwidth_package("upload", name.c_str(), 5), 0);
    EXPECT_EQ(get("bandwidth_package_index", 1), Value(1));
    EXPECT_EQ(get("bandwidth_package_upload", 1), Value(0));
    for (const std::string &command : shell.commands()) EXPECT_EQ(command, list);
  }
}

using zol::qos::Client;
using zol::qos::Rules;

const std::string show = "uci show qos";
constexpr zol::Mac own = {0xf4, 0x5c, 0x89, 0x10, 0x20, 0x30};
constexpr zol::Mac other = {0xf4, 0x5c, 0x89, 0x10, 0x20, 0x31};

/// A classify section as uci prints it, with options such as "target=Bulk".
std::string section(int number, const std::vector<std::string> &options) {
  const std::string name = "qos.@classify[" + std::to_string(number) + "]";
  std::string text = name + "=classify\n";
  for (const std::string &option : options) text.append(name).append(1, '.').append(option).append(1, '\n');
  return text;
}

int32_t package_of(const Client &client, Direction direction) {
  Rules rules;
  EXPECT_TRUE(rules.load());
  const zol::qos::Rule *rule = rules.find(client, direction);
  return rule == nullptr ? 0 : rule->package;
}

TEST(ClientRules, AreToldFromAnAdministratorsSections) {
  const std::string to = "dsthost=192.168.1.9";
  const std::string from = "srchost=192.168.1.9";
  const std::string its = "client=f4:5c:89:10:20:30";
  struct Told {
    std::vector<std::string> options;
    /// What it means to the station at the address, and to the client while it is elsewhere.
    int32_t here, elsewhere;
  };
  const Told sections[] = {
      {{"target=Express", to}, 2, 0},
      {{to, "target=Express"}, 2, 0},
      {{"target='Express'", "dsthost='192.168.1.9'"}, 2, 0},
      {{"target=Bulk", to, its}, 4, 4},
      {{"target=Bulk", to, "client=f4:5c:89:10:20:31"}, 0, 0},
      {{"target=Bulk", to, "client=f4:5c:89:10:20"}, 0, 0},
      {{"target=Express", to, "ports=22"}, 0, 0},
      {{"target=Express", to, its, "comment=hers"}, 0, 0},
      {{"target=Express", to, its, "comment=" + std::string(300, 'x')}, 0, 0},
      {{"target=Express", to, from}, 0, 0},
      {{"target=Low", to}, 0, 0},
      {{"target=Express", "dsthost=192.168.1.90"}, 0, 0},
      {{"target=Express", "dsthost=192.168.1.9/32"}, 0, 0},
      {{"target=Express", from}, 0, 0},
      {{"target=Express"}, 0, 0},
      {{its}, 0, 0},
  };
  for (const auto &[options, here, elsewhere] : sections) {
    ScriptedShell shell;
    shell.answers(show, "qos.wan=interface\nqos.wan.enabled=1\n" + section(0, options) + "qos.Bulk=class\n");
    SCOPED_TRACE(section(0, options));
    EXPECT_EQ(package_of({own, 0xC0A80109}, Direction::download), here);
    EXPECT_EQ(package_of({own, 0xC0A80110}, Direction::download), elsewhere);
    EXPECT_EQ(package_of({own, 0}, Direction::download), elsewhere);
  }
  ScriptedShell shell;
  shell.answers(show, "qos.hers=classify\nqos.hers.target=Bulk\nqos.hers.dsthost=192.168.1.9\n");
  EXPECT_EQ(package_of({own, 0xC0A80109}, Direction::download), 0) << "a section with a name";
  shell.cannot_start();
  EXPECT_FALSE(Rules().load());
}

TEST(ClientRules, AreChangedWhereTheCommandsCountThem) {
  // As early releases print it, which count the anonymous sections only: the commands count the one with a name as
  // well.
  const std::string sections = "qos.named=classify\nqos.named.target=Bulk\n" +
                               section(0, {"target=Express", "dsthost=192.168.1.9"}) +
                               section(1, {"target=Bulk", "srchost=192.168.1.8", "client=f4:5c:89:10:20:30"}) +
                               section(2, {"target=Normal", "dsthost=192.168.1.9", "client=f4:5c:89:10:20:30"});
  struct Change {
    const char *what;
    Direction direction;
    Client client;
    int32_t package;
    Commands runs;
  };
  const std::string add = "uci add qos classify;uci set qos.@classify[-1].target=";
  const std::string ends = ";uci reorder qos.@classify[-1]=0;uci commit qos";
  const Client present{own, 0xC0A80109}, absent{own, 0}, stranger{other, 0xC0A80108};
  const std::string move = "uci set qos.@classify[2].srchost=192.168.1.9;";
  // clang-format off
  const Change changes[] = {
      {"a present client", Direction::download, present, 1, {"uci set qos.@classify[1].client=f4:5c:89:10:20:30;" + move +
       "uci set qos.@classify[1].target=Priority;uci commit qos"}},
      {"all of a direction", Direction::download, present, 0,
       {move + "uci delete qos.@classify[1];uci delete qos.@classify[2];uci commit qos"}},
      {"an absent client", Direction::upload, absent, 3, {"uci set qos.@classify[2].target=Normal;uci commit qos"}},
      {"an absent client's rule", Direction::upload, absent, 0, {"uci delete qos.@classify[2];uci commit qos"}},
      {"a stranger on an old address", Direction::upload, stranger, 4, {add +
       "Bulk;uci set qos.@classify[-1].srchost=192.168.1.8;uci set qos.@classify[-1].client=f4:5c:89:10:20:31" + ends}},
      {"nothing to delete", Direction::upload, stranger, 0, {}},
      {"no address", Direction::upload, {other, 0}, 1, {}},
  };
  // clang-format on
  for (const auto &[what, direction, client, package, runs] : changes) {
    SCOPED_TRACE(what);
    ScriptedShell shell;
    shell.answers(show, sections);
    zol::qos::set_client_package(direction, client, package);
    Commands commands = shell.commands();
    ASSERT_FALSE(commands.empty());
    EXPECT_EQ(commands.front(), show);
    EXPECT_EQ(Commands(commands.begin() + 1, commands.end()), runs);
  }
  ScriptedShell shell;
  shell.answers(show, section(0, {"target=Bulk", "srchost=192.168.1.8", "client=f4:5c:89:10:20:30"}));
  zol::qos::set_client_package(Direction::download, {own, 0}, 2);
  EXPECT_EQ(shell.commands().back(), add +
                                         "Express;uci set qos.@classify[-1].dsthost=192.168.1.8;"
                                         "uci set qos.@classify[-1].client=f4:5c:89:10:20:30" +
                                         ends)
      << "an absent client's other direction";
}

TEST(ClientRules, FollowTheirClients) {
  zol::after_collections(zol::qos::follow_clients);
  ScriptedShell shell;
  shell.answers("brctl show", "br-lan\tath0\n");
  shell.answers("wlanconfig ath0 list sta", "f4:5c:89:10:20:30 1\nf4:5c:89:10:20:31 2\n");
  const auto leases = [&](const std::string &first, const std::string &second) {
    shell.answers("cat /var/dhcp.leases",
                  "1795270000 f4:5c:89:10:20:30 " + first + " a *\n1795270000 f4:5c:89:10:20:31 " + second + " b *\n");
    EXPECT_TRUE(zol::make_collection());
    shell.commands();
    EXPECT_TRUE(zol::take_over_collection());
    return shell.commands();
  };
  shell.answers(show, section(0, {"target=Bulk", "srchost=192.168.1.8", "client=f4:5c:89:10:20:30"}) +
                          section(1, {"target=Bulk", "dsthost=192.168.1.8", "client=f4:5c:89:10:20:30"}) +
                          section(2, {"target=Bulk", "dsthost=192.168.1.8"}));
  EXPECT_EQ(leases("192.168.1.8", "192.168.1.20"), Commands{show});
  EXPECT_EQ(leases("192.168.1.8", "192.168.1.20"), Commands{}) << "nobody has moved";
  EXPECT_EQ(leases("192.168.1.9", "192.168.1.8"),
            (Commands{show,
                      "uci set qos.@classify[0].srchost=192.168.1.9;uci set qos.@classify[1].dsthost=192.168.1.9;"
                      "uci commit qos"}));
  shell.answers("wlanconfig ath0 list sta", "f4:5c:89:10:20:31 2\n");
  EXPECT_EQ(leases("192.168.1.30", "192.168.1.8"), Commands{show}) << "who is absent stays";
  zol::forget_collections();
}

}  // namespace
