// The table of every associated station (8.2.1), named by the stations' addresses.

#include <algorithm>

#include "core/clock.hpp"
#include "core/dynamic_table.hpp"
#include "mib/stations/stations.hpp"

using namespace zol;

namespace {

const StationRecord &station(size_t row) { return present_stations().stations()[row]; }
const InterfaceRecord &interface_of(size_t row) { return present_stations().interfaces[station(row).interface]; }

template <class Value>
std::optional<Value> only_if(bool known, Value value) {
  return known ? std::optional(value) : std::nullopt;
}

template <auto field, Figure figure>
auto figure_of(size_t row) {
  return only_if(station(row).knows(figure), station(row).*field);
}

template <auto field, Figure figure>
std::optional<Octets> text_of(size_t row) {
  return only_if(station(row).knows(figure), text_answer(station(row).*field));
}

template <Counter counter>
std::optional<uint64_t> count_of(size_t row) {
  return only_if(station(row).counts(counter), station(row).count(counter));
}

template <Counter counter>
std::optional<uint32_t> short_count_of(size_t row) {
  return only_if(station(row).counts(counter), static_cast<uint32_t>(station(row).count(counter)));
}

template <auto direction, Counter counter>
std::optional<uint64_t> octets_of(size_t row) {
  return only_if(station(row).counts(counter), (station(row).*direction).octets);
}

template <auto direction, Counter counter>
std::optional<uint32_t> kbps_of(size_t row) {
  return only_if(station(row).counts(counter), (station(row).*direction).kbps);
}

using S = StationRecord;

constexpr DynamicColumn columns[] = {
    /// @syntax MacAddress
    /// The station's address.
    index_column(1, "zol_station_mac", ASN_OCTET_STR),
    /// @syntax ZolarcText (SIZE (4..5))
    /// The wireless interface that it is associated with, for example 'ath0'; the higher one when the driver lists it
    /// on
    /// two.
    text_column(2, "zol_station_interface",
                [](size_t row) -> std::optional<Octets> {
                  static char name[8];
                  snprintf(name, sizeof name, "ath%u", station(row).interface);
                  return text_answer(name);
                }),
    /// @syntax ZolarcText (SIZE (0..64))
    /// The name of that interface's network, as it is configured.
    text_column(3, "zol_station_ssid",
                [](size_t row) { return only_if(interface_of(row).has_ssid, text_answer(interface_of(row).ssid)); }),
    /// The number of the interface's radio: n of wifi<n>, as it is configured.
    integer32_column(4, "zol_station_radio",
                     [](size_t row) {
                       const auto radio = interface_of(row).radio;
                       return only_if(radio >= 0, int32_t{static_cast<uint8_t>(radio)});
                     }),
    /// @units dBm
    /// The strength of its signal.
    integer32_column(5, "zol_station_signal", figure_of<&S::signal, Figure::signal>),
    /// @units dBm
    /// The noise that it is received with.
    integer32_column(6, "zol_station_noise", figure_of<&S::noise, Figure::noise>),
    /// @syntax ZolarcText (SIZE (0..31))
    /// The strength of its signal at each antenna, as the driver writes it.
    text_column(7, "zol_station_chains", text_of<&S::chains, Figure::chains>),
    /// @units kbit/s
    /// The rate that it is sent to with: 65.5 Mbit/s is 65500.
    gauge_column(8, "zol_station_tx_rate", figure_of<&S::tx_rate, Figure::tx_rate>),
    /// @units kbit/s
    /// The rate that it sends with.
    gauge_column(9, "zol_station_rx_rate", figure_of<&S::rx_rate, Figure::rx_rate>),
    /// @units percent
    /// The quality of the connection in sending to it.
    gauge_column(10, "zol_station_quality", figure_of<&S::quality, Figure::quality>),
    /// Its address, from the DHCP lease of its own that ends last.
    ip_column(11, "zol_station_ip", figure_of<&S::address, Figure::address>),
    /// @syntax ZolarcText (SIZE (1..63))
    /// The name that it has given to the DHCP server, without control characters.
    text_column(12, "zol_station_name", text_of<&S::name, Figure::name>),
    /// The time since the collection that first found it on its interface.
    ticks_column(13, "zol_station_connected",
                 [](size_t row) { return std::optional(ticks_since(station(row).found_at)); }),
    /// @units octets
    /// Octets sent to it. A counter of 32 bits is carried on when it has passed its end between two collections. Counts
    /// anew when the station associates anew.
    counter64_column(14, "zol_station_tx_octets", octets_of<&S::tx, Counter::tx_bytes>),
    /// @units octets
    /// Octets received from it, counted as zolStationTxOctets.
    counter64_column(15, "zol_station_rx_octets", octets_of<&S::rx, Counter::rx_bytes>),
    /// @units packets
    /// Data frames sent to it.
    counter64_column(16, "zol_station_tx_packets", count_of<Counter::tx_data>),
    /// @units packets
    /// Data frames received from it.
    counter64_column(17, "zol_station_rx_packets", count_of<Counter::rx_data>),
    /// Frames to it that were sent again.
    counter32_column(18, "zol_station_tx_retries", short_count_of<Counter::tx_retries>),
    /// Frames to it that were discarded.
    counter32_column(19, "zol_station_tx_discards", short_count_of<Counter::tx_discard>),
    /// Frames from it that could not be decrypted or were forged: the driver's rx_decryptcrc and rx_demicfail.
    counter32_column(20, "zol_station_rx_errors",
                     [](size_t row) {
                       const bool known =
                           station(row).counts(Counter::rx_decryptcrc) || station(row).counts(Counter::rx_demicfail);
                       const uint64_t sum =
                           station(row).count(Counter::rx_decryptcrc) + station(row).count(Counter::rx_demicfail);
                       return only_if(known, static_cast<uint32_t>(sum));
                     }),
    /// @units kbit/s
    /// What was sent to it since the collection before, on average; 0 at first.
    gauge_column(21, "zol_station_tx_kbps", kbps_of<&S::tx, Counter::tx_bytes>),
    /// @units kbit/s
    /// What was received from it since the collection before, on average; 0 at first.
    gauge_column(22, "zol_station_rx_kbps", kbps_of<&S::rx, Counter::rx_bytes>),
};

size_t count_stations() {
  note_request();
  return present_stations().stations().size();
}

void write_index(size_t row, oid *arcs) {
  const Mac &mac = station(row).mac;
  std::copy(mac.begin(), mac.end(), arcs);
}

}  // namespace

/// @table zolStationTable
/// @index zolStationMac
/// Every station that is associated, as the last complete collection found it; the collections are zolarcCollect
/// seconds apart. No request runs a command. What the system's tools do not tell of a station has no instance.
ZOL_DYNAMIC_TABLE(zol_station_table, columns, .entry = {1, 1}, .index_length = mac_length, .rows = count_stations,
                  .index = write_index)
