// The neighbouring networks (19.1), as the last site survey found them. A survey is made when the first cell is asked
// for.

#include <cstring>
#include <span>

#include "core/command.hpp"
#include "core/static_table.hpp"
#include "core/text.hpp"
#include "mib/tables/tables.hpp"

using namespace zol;

ScanRecord zol_mac_scan_all[most_scan_records];
uint32_t ssid_number = 0;

namespace {

/// Puts records together from the lines of a survey. A cell is closed by its signal, so a cell without one merges with
/// the next.
class Survey {
 public:
  explicit Survey(std::span<ScanRecord> records) : records_(records) { open(); }

  void add(const char *line) {
    // The names are chosen by strangers: a name that holds a label of these is read as that label says.
    if (const char *address = text_after(line, "Address:", 1)) {
      memcpy(current_->bssid, mac_octets(address).data(), mac_length);
    } else if (const char *name = text_after(line, "ESSID:", 1)) {
      set_name(name);
    } else if (const char *channel = text_after(line, "Channel:", 1)) {
      set_field(current_->channel, channel);
    } else if (const char *signal = text_after(line, "Signal:", 1)) {
      set_field(current_->signal, signal);
      close();
    }
  }

  [[nodiscard]] uint32_t count() const { return count_; }

 private:
  using Word = char[128];

  /// Clears the next record, so that nothing of an earlier survey shows in it.
  void open() {
    current_ = count_ < records_.size() ? &records_[count_] : &beyond_;
    *current_ = {};
  }

  void close() {
    if (count_ < records_.size()) ++count_;
    open();
  }

  void set_name(const char *text) {
    Word word;
    if (!scan_word(word, text)) return;
    const bool quoted = word[0] == '"';
    // What is dropped at the end is the closing quote only if the name is a single word.
    if (quoted) word[strlen(word) - 1] = '\0';
    copy_text(current_->essid, quoted ? word + 1 : word);
  }

  static void set_field(std::span<char> field, const char *text) {
    Word word;
    if (scan_word(word, text)) fill_field(field, word);
  }

  std::span<ScanRecord> records_;
  uint32_t count_ = 0;
  ScanRecord *current_ = nullptr;
  /// Takes the networks that there is no room for.
  ScanRecord beyond_{};
};

}  // namespace

int get_zol_mac_scan(uint32_t ap_count, ScanRecord *records, uint32_t *count) {
  Survey survey({records, most_scan_records});
  *count = 0;
  for (uint32_t i = 0; i < ap_count; ++i) {
    CommandOutput output({.seconds = 30}, "iwinfo ath%u scan ", i);
    if (!output) return -1;
    while (output.next()) survey.add(output.line());
    *count = survey.count();
  }
  return 0;
}

ZOL_TOKEN_TEXT(scanning_table, zol_ssid_name, 30, 29)
ZOL_TOKEN_INTEGER(scanning_table, zol_fre_scan, int32_t)
ZOL_TOKEN_TEXT(scanning_table, zol_mac_scan, 44, 43)
ZOL_TOKEN_INTEGER(scanning_table, zol_rssi_scan, int32_t)

namespace {

const ScanRecord &record(Cell cell) { return zol_mac_scan_all[cell.row - 1]; }

/// The number in a field that may lack a terminator.
int32_t number(const char (&field)[4]) {
  char text[sizeof field + 1] = "";
  memcpy(text, field, sizeof field);
  return to_int32(text);
}

Octets read_name(Cell cell) {
  copy_text(zol_ssid_name, record(cell).essid);
  return text_answer(zol_ssid_name);
}

Octets read_bssid(Cell cell) {
  memcpy(zol_mac_scan, record(cell).bssid, mac_length);
  return {zol_mac_scan, mac_length};
}

constexpr Column columns[] = {
    /// @syntax ZolarcText (SIZE (0..29))
    /// The network's name as the survey tells it: one with blanks is cut in its first word.
    octets_column(1, 1, "zol_ssid_name", read_name),
    /// The channel number.
    integer_column(2, 2, "zol_fre_scan", [](Cell cell) { return zol_fre_scan = number(record(cell).channel); }),
    /// @syntax ZolarcMacAddress
    /// The network's address (BSSID).
    octets_column(3, 3, "zol_mac_scan", read_bssid),
    /// @units dBm
    /// The strength of its signal.
    integer_column(4, 4, "zol_rssi_scan", [](Cell cell) { return zol_rssi_scan = number(record(cell).signal); }),
};

void survey_neighbourhood() {
  uint32_t interfaces = 0;
  get_virtual_ap_num(&interfaces);
  get_zol_mac_scan(interfaces, zol_mac_scan_all, &ssid_number);
}

}  // namespace

/// @table siteSurveyTable
/// The networks in the neighbourhood. Reading the first cell, as a walk does, makes every wireless interface scan,
/// which takes seconds and disturbs traffic; the other cells are answered from memory. A network that several
/// interfaces hear stands here several times.
ZOL_TABLE(
    scanning_table, var_scanning_table, most_scan_records, columns, .entry = {19, 1}, .refresh = survey_neighbourhood,
    .live_rows = [] { return static_cast<int32_t>(ssid_number); });
