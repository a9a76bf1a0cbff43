// The shaper's switch and limits, its packages, and the rules of single clients.

#include "mib/qos/qos.hpp"

#include <gtest/gtest.h>

#include "mib/qos/client_rules.hpp"
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
    EXPECT_EQ(get("bwidthpkg_download"), Value(0));
    EXPECT_EQ(set("bwidthpkg_download", 5), SNMP_ERR_WRONGVALUE);
    EXPECT_EQ(set_bandwidth_package("upload", name.c_str(), 5), 0);
    EXPECT_EQ(get("bandwidth_package_index", 1), Value(1));
    EXPECT_EQ(get("bandwidth_package_upload", 1), Value(0));
    for (const std::string &command : shell.commands()) EXPECT_EQ(command, list);
  }
}

TEST(ClientRules, AreToldFromAnAdministratorsSections) {
  const std::string sections =
      "qos.wan=interface\nqos.wan.enabled=1\n"
      "qos.@classify[0]=classify\nqos.@classify[0].target=Priority\nqos.@classify[0].dsthost=192.168.1.9\n"
      "qos.@classify[0].ports=22\n"
      "qos.@classify[1]=classify\nqos.@classify[1].dsthost=192.168.1.9\nqos.@classify[1].target=Express\n"
      "qos.@classify[2]=classify\nqos.@classify[2].target=Normal\nqos.@classify[2].dsthost=192.168.1.9\n"
      "qos.@classify[2].srchost=192.168.1.9\n"
      "qos.@classify[3]=classify\nqos.@classify[3].target=Low\nqos.@classify[3].srchost=192.168.1.9\n"
      "qos.@classify[4]=classify\nqos.@classify[4].target=Bulk\nqos.@classify[4].srchost=192.168.1.90\n"
      "qos.@classify[5]=classify\nqos.@classify[5].target=Bulk\nqos.@classify[5].dsthost=192.168.1.9/32\n"
      "qos.@classify[6]=classify\nqos.@classify[6].target=Normal\nqos.@classify[6].dsthost=192.168.1.9\n"
      "qos.@reclassify[0]=reclassify\nqos.@reclassify[0].target=Priority\n"
      "qos.@classify[12]=classify\nqos.@classify[12].target=Bulk\nqos.@classify[12].srchost=192.168.1.9\n";
  const std::string show = "uci show qos";
  constexpr zol::Ipv4 client = 0xC0A80109;
  ScriptedShell shell;
  shell.answers(show, sections);
  int32_t package = -1;
  EXPECT_EQ(zol::qos::get_client_package(Direction::download, client, &package), 0);
  EXPECT_EQ(package, 2);
  EXPECT_EQ(zol::qos::get_client_package(Direction::upload, client, &package), 0);
  EXPECT_EQ(package, 4);
  EXPECT_EQ(zol::qos::get_client_package(Direction::upload, client + 1, &package), 0);
  EXPECT_EQ(package, 0);
  shell.commands();

  struct Case {
    Direction direction;
    zol::Ipv4 client;
    int32_t package;
    Commands changes;
  };
  const Case cases[] = {
      {Direction::download, client, 1, {"uci set qos.@classify[1].target=Priority;uci commit qos"}},
      {Direction::upload, client, 3, {"uci set qos.@classify[12].target=Normal;uci commit qos"}},
      {Direction::upload,
       client + 1,
       4,
       {"uci add qos classify;uci set qos.@classify[-1].target=Bulk;uci set "
        "qos.@classify[-1].srchost=192.168.1.10;uci commit qos"}},
      {Direction::download, client, 0, {"uci delete qos.@classify[1];uci delete qos.@classify[5];uci commit qos"}},
      {Direction::upload, client + 1, 0, {}},
  };
  for (const auto &[direction, address, chosen, changes] : cases) {
    zol::qos::set_client_package(direction, address, chosen);
    Commands commands = shell.commands();
    EXPECT_EQ(commands.front(), show);
    EXPECT_EQ(Commands(commands.begin() + 1, commands.end()), changes);
  }
  shell.cannot_start();
  EXPECT_EQ(zol::qos::get_client_package(Direction::upload, client, &package), -1);
}

}  // namespace
