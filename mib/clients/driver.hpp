#pragma once

namespace zol {

/// Whether the driver's loader lists signals in dBm, 95 below what the driver says, or as the driver says (above the
/// noise). In dBm from the start.
void report_rssi_in_dbm(bool in_dbm);

}  // namespace zol
