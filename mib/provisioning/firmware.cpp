// The firmware upgrade: fetching an image over FTP, telling its version and checksum, flashing it.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "core/clock.hpp"
#include "core/command.hpp"
#include "core/guard.hpp"
#include "core/log.hpp"
#include "core/option.hpp"
#include "core/quoting.hpp"
#include "core/scalar.hpp"
#include "core/written_file.hpp"
#include "mib/device/device.hpp"
#include "mib/provisioning/provisioning.hpp"

using namespace zol;

namespace {

// One file under two names: /var is a link to /tmp.
constexpr const char *download_path = "/var/firmware.img";
constexpr const char *flash_path = "/tmp/firmware.img";

/// The outcome of a transfer, as the station reads it.
enum TransferStatus : int32_t { started = 0, ready_to_flash = 1, failed = 2 };

constexpr const char *log_path = "/etc/log_pnar.txt";

constexpr size_t setting_size = 4096;
constexpr size_t version_column = 16;
constexpr size_t date_size = sizeof "2011-11-11";

using Stamp = std::array<char, 20>;

Stamp stamp_now() {
  Stamp stamp{};
  zoel_print_time(stamp.data());
  return stamp;
}

/// A setting of the section apc.setting, whole however long it is.
class Setting {
 public:
  explicit Setting(const char *key) { services_get_string(key, text_.data()); }
  [[nodiscard]] const char *text() const { return text_.data(); }
  [[nodiscard]] int32_t number() const { return to_int32(text()); }

 private:
  std::array<char, setting_size> text_{};
};

/// What a downloaded image and the running system say of themselves. Whoever wrote the image is not to run commands
/// here: a text that would end the quotes of a command counts as missing.
struct Versions {
  std::array<char, version_column + 1> image{};
  std::array<char, 33> current{};

  void read_image() {
    static constinit Complaint unusable;
    if (get_file_version_from_img(download_path, image.data()) != 1) {
      copy_text(image, "unknown");
    } else if (!is_plain(image.data(), Quotes::single)) {
      unusable.raise("the version \"%s\" of the firmware image is not used: it holds a quote", image.data());
      copy_text(image, "unknown");
    } else {
      unusable.over();
    }
  }

  void read_current() {
    static constinit Complaint unusable;
    get_fw_version(current.data());
    if (is_plain(current.data(), Quotes::single)) {
      unusable.over();
    } else {
      unusable.raise("the running firmware's version %s is not used: it holds a quote", current.data());
      copy_text(current, fw_version_without_description);
    }
  }
};

void record_missing_file(const char *stamp) {
  // Committed together with the reason.
  shell("uci set apc.setting.apcTransferStatus=%d", failed);
  std::array<char, 64> reason{};
  snprintf(reason.data(), reason.size(), "[%s] %s", stamp, "File not found");
  set_apc_failreason(reason.data());
}

void record_image(const char *stamp, const Versions &versions) {
  std::array<char, 128> checksum{};
  get_file_checksum(download_path, checksum.data());
  if (!is_plain(checksum.data(), Quotes::none)) {
    log_line("md5sum tells no checksum: %s", checksum.data());
    checksum[0] = '\0';
  }
  shell("uci set apc.setting.apcFileChecksum=%s;uci commit apc", checksum.data());

  CommandLine outcome;
  if (strstr(versions.image.data(), "unknown") != nullptr) {
    outcome.append("uci set apc.setting.apcTransferStatus=%d", failed);
    outcome.append(";uci set apc.setting.apcTransferFailReason='[%s] File in wrong format!'", stamp);
  } else {
    std::array<char, date_size> image_date{};
    std::array<char, date_size> current_date{};
    version_date(versions.image.data(), image_date.data());
    version_date(versions.current.data(), current_date.data());
    outcome.append("uci set apc.setting.apcTransferStatus=%d", ready_to_flash);
    outcome.append(
        ";uci set apc.setting.apcTransferFailReason='[%s] Download done(New version: %s(%s). Current "
        "version:%s(%s))'",
        stamp, versions.image.data(), image_date.data(), versions.current.data(), current_date.data());
  }
  outcome.append(";uci commit apc");
  outcome.run();
}

}  // namespace

int file_exist(const char *path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file == -1) return -1;
  close(file);
  return 0;
}

int get_file_checksum(const char *path, char *out) {
  out[0] = '\0';
  CommandOutput output("md5sum %s", path);
  if (!output || !output.next() || strchr(output.line(), '/') == nullptr) return -1;
  copy_field({out, 128}, output.line(), 0, ' ');
  return 0;
}

int get_file_version_from_img(const char *path, char *out) {
  out[0] = '\0';
  CommandOutput output("hexdump -s 0xf8 -n 32 -C %s", path);
  if (!output) return -1;
  const char *column = output.find("|");
  if (column == nullptr) return 0;
  // An image that ends inside the column has the bar behind it taken along.
  copy_text({out, version_column + 1}, column + 1);

  char *number = strstr(out, " v");
  constexpr size_t shortest_number = 5;
  if (number != nullptr && strlen(number) > shortest_number) {
    if (char *dot = strchr(number + shortest_number, '.')) *dot = '\0';
  }
  return 1;
}

int version_date(const char *version, char *out) {
  constexpr size_t digits = 6;
  const char *date = text_after(version, "_b");
  if (date != nullptr && strlen(date) >= digits) {
    snprintf(out, date_size, "20%.2s-%.2s-%.2s", date, date + 2, date + 4);
  } else {
    copy_text({out, date_size}, "2011-11-11");
  }
  return 0;
}

int num_days(const char *date) {
  // Not "%F", which not every C library knows; and counted in days, for the seconds until 2070 do not fit into 32 bits.
  tm parts{};
  if (strptime(date, "%Y-%m-%d", &parts) == nullptr) return 0;
  constexpr int first_year = 1900;
  using namespace std::chrono;
  const sys_days first_of_month{year{first_year + parts.tm_year} / (parts.tm_mon + 1) / 1};
  return static_cast<int>((first_of_month + days{parts.tm_mday - 1}).time_since_epoch().count());
}

namespace {

/// A setting as it stands in the URL.
class UrlPart {
 public:
  explicit UrlPart(const char *text, bool path = false) { escape_for_url(text_, text, path); }
  [[nodiscard]] const char *text() const { return text_.data(); }

 private:
  std::array<char, 3 * setting_size> text_;
};

}  // namespace

/// @syntax ZolarcAction
/// Set to perform(1), with apcLoadflag and apcFiletype 1, the agent fetches the file by FTP, reads its version and its
/// digest, and notes what came of it in apcStatus and apcFailreason. It answers when that is done, which can take
/// minutes: give the request a long timeout and no retries. A GET answers what was set last.
ZOL_INTEGER(apc_download, .oid = {21, 12}, .accepts = range(0, 1));

ZOL_HELD(apc_download)

int set_apc_download(int32_t value) {
  const int32_t load_flag = Setting("apc.setting.apcLoadFlag").number();
  const int32_t file_type = Setting("apc.setting.apcTypeOfFile").number();
  const Setting user("apc.setting.apcSrvUserName");
  const Setting password("apc.setting.apcSrvPasswd");
  const Setting address("apc.setting.apcSrvIpAddress");
  const int32_t port = Setting("apc.setting.apcSrvPort").number();
  const Setting file("apc.setting.apcFileName");
  Versions versions;
  versions.read_current();
  const UrlPart user_part(user.text());
  const UrlPart password_part(password.text());
  const UrlPart file_part(file.text(), true);
  std::array<char, 10 * setting_size + sizeof "ftp://:@:-2147483648/"> url{};
  snprintf(url.data(), url.size(), "ftp://%s:%s@%s:%d/%s", user_part.text(), password_part.text(), address.text(), port,
           file_part.text());
  if (value != 1 || load_flag != 1 || file_type != load_flag) return 0;

  const Stamp stamp = stamp_now();
  set_apc_status(started);
  remove_link(download_path);
  remove_link(flash_path);
  if (file_exist(download_path) == 0) shell("rm -rf %s", download_path);
  shell_patiently("cd /tmp;wget '%s' -O %s", url.data(), download_path);

  versions.read_image();
  set_apc_fwversion(versions.image.data());
  const bool found = file_exist(download_path) == 0;
  if (found) {
    record_image(stamp.data(), versions);
  } else {
    record_missing_file(stamp.data());
  }
  // The address carries the user name and the password into the log; it is meant so.
  keep_private(log_path);
  shell("echo '[%s] Download from [%s]. %s...' >> %-s", stamp.data(), url.data(),
        found ? "File is found" : "File was not found", log_path);
  return 0;
}

/// @syntax ZolarcAction
/// A SET of any value that is accepted flashes the image that was fetched if apcStatus is readyToFlash(1), and the
/// device reboots. Else only a line goes to /etc/log_pnar.txt. A GET answers what was set last.
ZOL_INTEGER(apc_confirm, .oid = {21, 13}, .accepts = range(0, 1));

ZOL_HELD(apc_confirm)

int set_apc_confirm(int32_t) {
  const Stamp stamp = stamp_now();
  const int32_t status = Setting("apc.setting.apcTransferStatus").number();
  keep_private(log_path);
  if (file_exist(flash_path) != 0 || status != ready_to_flash) {
    shell("echo '[%s] Source of upgraded firmware not found or transferring status failed...' >> %-s", stamp.data(),
          log_path);
    return 0;
  }
  shell("echo '[%s] Flashing new firmware...Please wait for a while...' >> %-s", stamp.data(), log_path);
  // What the image check answers is not looked at. The upgrade needs the memory of the SSH and web servers.
  shell(
      "rm -rf /tmp/ftproot/*.img;. /lib/upgrade/platform.sh;. /lib/functions.sh; include /lib/upgrade; "
      "platform_check_image /tmp/firmware.img >/dev/null;killall dropbear uhttpd; sleep 1; /sbin/sysupgrade "
      "/tmp/firmware.img");
  return 0;
}
