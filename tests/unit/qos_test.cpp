// The shaper's switch and limits, its packages, and the rules of single clients.

#include "mib/qos/qos.hpp"

#include <gtest/gtest.h>

#include "mib/qos/client_rules.hpp"
#include "tests/unit/request.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" zol::FindMethod var_qos_enabled, var_bandwidth_package;

namespace {

using Commands = std::vector<std::string>;
using zol::qos::Direction;

const std::string list = "uci show qos.Default.classes";
const std::string packages = "qos.Default.classes=Priority Express Normal Bulk\n";

TEST(Qos, TheSwitch) {
  const std::string show = "uci show qos.wan.enabled";
  struct Case {
    const char *output;
    int32_t enabled;
  };
  for (const auto &[output, enabled] :
       {Case{"", 2}, Case{"qos.wan.enabled=1\n", 1}, Case{"qos.wan.enabled=1\nqos.wan.enabled=0\n", 2},
        Case{"qos.wan.enabled=1\nqos.wan.enabled=yes\nx\n", 1}, Case{"qos.wan.enabled=11\n", 2}}) {
    ScriptedShell shell;
    shell.answers(show, output);
    EXPECT_EQ(get(var_qos_enabled, {13, 1})->integer(), enabled) << output;
  }
}

TEST(Qos, ThePackageTable) {
  auto cell = [](oid column, oid row) {
    return get(var_bandwidth_package, {13, 6, 1, column, row}, static_cast<unsigned char>(column));
  };
  ScriptedShell shell;
  shell.answers(list, packages).answers("uci show qos.Bulk_down.avgrate", "qos.Bulk_down.avgrate=15\n");
  shell.answers("uci show qos.Express.avgrate", "qos.Express.avgrate=30\n");
  EXPECT_FALSE(cell(2, 1)) << "before the first cell was asked for";
  EXPECT_EQ(cell(1, 1)->integer(), 1);
  EXPECT_EQ(shell.commands(), Commands{list});
  EXPECT_EQ(cell(2, 2)->bytes, "Express");
  EXPECT_EQ(cell(2, 4)->bytes, "Low");
  EXPECT_EQ(cell(3, 4)->integer(), 15);
  EXPECT_EQ(cell(4, 2)->integer(), 30);
  EXPECT_EQ(cell(4, 3)->integer(), 0);
  EXPECT_FALSE(cell(1, 5));
  EXPECT_EQ(shell.commands(), (Commands{"uci show qos.Bulk_down.avgrate", "uci show qos.Express.avgrate",
                                        "uci show qos.Normal.avgrate"}));
  shell.answers(list, "");
  EXPECT_EQ(cell(1, 1)->integer(), 1);
  EXPECT_EQ(cell(2, 2)->bytes, "name2");
  EXPECT_EQ(cell(2, 4)->bytes, "name2") << "a row without a package repeats the name last held";
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
