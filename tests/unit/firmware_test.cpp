// What the firmware upgrade tells from an image: version, date, checksum.

#include <gtest/gtest.h>

#include "mib/provisioning/provisioning.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

TEST(Firmware, AnImagesVersionStandsInItsDump) {
  struct Case {
    std::string output;
    int result;
    std::string version;
  };
  const std::string hex = "000000f8  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  |";
  const Case cases[] = {
      {hex + "ZOL v1.2.34_b140|\n00000108  ...  |other v9........|\n", 1, "ZOL v1.2"},
      {hex + "v1.2.34_b1401021|\n", 1, "v1.2.34_b1401021"},
      {hex + "KelvAP v12.3_b14|\n", 1, "KelvAP v12.3_b14"},
      {hex + "a.b.c.d.e.f.g v1|\n", 1, "a.b.c.d.e.f.g v1"},
      {hex + "with a | in it..|\n", 1, "with a | in it.."},
      {hex + "end|\n", 1, "end|"},
      {"000000f8\n", 0, ""},
      {"", 0, ""},
  };
  for (const auto &[output, result, version] : cases) {
    ScriptedShell shell;
    shell.answers("hexdump -s 0xf8 -n 32 -C /tmp/x.img", output);
    char text[17] = "old";
    EXPECT_EQ(get_file_version_from_img("/tmp/x.img", text), result) << output;
    EXPECT_EQ(text, version) << output;
  }
}

TEST(Firmware, AVersionsDateAndItsDays) {
  struct Case {
    const char *version;
    const char *date;
    int days;
  };
  const Case cases[] = {{"ZOL v1.2_b140102", "2014-01-02", 16072},
                        {"_b120229_b991231", "2012-02-29", 15399},
                        {"ZOL v1.2", "2011-11-11", 15289},
                        {"cut short_b1401", "2011-11-11", 15289},
                        {"_b700101", "2070-01-01", 36525}};
  for (const auto &[version, date, days] : cases) {
    char text[11] = "";
    EXPECT_EQ(version_date(version, text), 0);
    EXPECT_STREQ(text, date) << version;
    EXPECT_EQ(num_days(text), days) << date;
  }
  EXPECT_EQ(num_days("20xy-zz-00"), 0);
}

TEST(Firmware, AChecksumIsTheDigestOfTheLine) {
  ScriptedShell shell;
  char text[128] = "old";
  shell.answers("md5sum /tmp/x.img", "9e107d9d372bb6826bd81d3542a419d6  /tmp/x.img\n");
  EXPECT_EQ(get_file_checksum("/tmp/x.img", text), 0);
  EXPECT_STREQ(text, "9e107d9d372bb6826bd81d3542a419d6");
  shell.answers("md5sum /tmp/x.img", "9e107d9d372bb6826bd81d3542a419d6  -\n");
  EXPECT_EQ(get_file_checksum("/tmp/x.img", text), -1);
  EXPECT_STREQ(text, "");
}

}  // namespace
