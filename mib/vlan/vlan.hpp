#pragma once

// VLANs: the managed ones in the UCI package `vlan`, the trunk ones in `vlansw`, one anonymous section of type `vlan`
// each.

#include "core/export.hpp"

extern "C" {

/// The VLAN id of section `n`, from `uci show <package> -q | grep "vlan\[<n>\].vlanid="`.
/// @param package "vlan" or "vlansw"
/// @return the id as text, valid until the next call; "unknown" when there is no such section or the command cannot be
///         started
ZOL_EXPORT char *get_vlan_vlanid(const char *package, int n);

/// The texts that the next add or edit writes, in buffers of 67, 66 and 66 bytes.
ZOL_EXPORT extern char *vlan_wifibridge_ptr;
ZOL_EXPORT extern char *vlan_desc_ptr;
ZOL_EXPORT extern char *vlantrunk_wifibridge_ptr;
}
