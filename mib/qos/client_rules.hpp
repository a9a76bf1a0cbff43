#pragma once

// The shaper's rules for single clients. A client's rule is a section of type `classify` in the UCI package qos that
// holds two options and no other: `target`, the package, and `srchost` (upload) or `dsthost` (download), the client's
// address. Every other classify section, with ports, protocols or a comment, is an administrator's and is never
// touched.

#include <cstdint>

#include "core/address.hpp"

namespace zol::qos {

enum class Direction { download, upload };

/// Packages count from 1: Priority, Express, Normal, Bulk. No rule is package 0.
constexpr int32_t most_packages = 4;

/// The package of a client's traffic in one direction, from "uci show qos". When it has several rules the first one
/// counts, as it does for the shaper.
/// @return 0, or -1 when the command cannot be started; `package` is then 0
int get_client_package(Direction direction, Ipv4 client, int32_t *package);

/// Changes the client's rule or adds one; package 0 deletes all that it has in this direction. Runs nothing when there
/// is nothing to change or the rules cannot be read.
void set_client_package(Direction direction, Ipv4 client, int32_t package);

}  // namespace zol::qos
