#pragma once

#include <vector>

#include "core/net_snmp.hpp"

using Oid = std::vector<oid>;

/// The agent's own order. That of vectors is wrong on big-endian machines in some releases of the C++ library.
struct OidOrder {
  bool operator()(const Oid &one, const Oid &other) const {
    return snmp_oid_compare(one.data(), one.size(), other.data(), other.size()) < 0;
  }
};
