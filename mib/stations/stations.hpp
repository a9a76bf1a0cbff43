#pragma once

// Every station that is associated, as the last complete collection found it: for the areas above this one. All but
// `make_collection` and `collection_is_due` is for the agent's thread alone.

#include <cstdint>
#include <optional>
#include <span>

#include "mib/stations/snapshot.hpp"

namespace zol {

/// The collection that the agent's thread works with: the stations that are present, in the order of their addresses.
/// None before the first. It changes in `take_over_collection` only. A station's `address` is that of its DHCP lease,
/// matched by all six octets, and counts only if the station `knows(Figure::address)`.
const Snapshot &present_stations();
/// The collection before that one, while the hooks below run; null when there was none.
const Snapshot *previous_stations();
/// Whether there was a complete collection yet.
bool any_collection();

/// The address of a station's lease, matched by all six octets. One that the collection has not found is looked for in
/// "cat /var/dhcp.leases". Nothing without a lease.
std::optional<Ipv4> lease_of(const Mac &mac);

/// Has `hook` called on the agent's thread after each collection that is taken over. Once for each function, at most
/// four.
void after_collections(void (*hook)());

/// Makes one collection: asks each bridged interface for its stations, and for what is known of them. For a sampling
/// thread; a second one waits until the first is done. Returns early, without a result, when collections are abandoned.
/// @return false when it is not complete and was dropped: the one before stays
bool make_collection();

/// Whether `period` seconds and `grace` milliseconds have passed since the last collection began, by a clock that
/// nobody sets. Without one the grace counts from the first call.
bool collection_is_due(int32_t period, int32_t grace = 0);

/// Takes over a collection that has ended since the last call, if any. Whether there was one. A subagent waits some
/// seconds for a pause between requests, since its master asks for a request's values one after the other.
bool take_over_collection();
/// The collection is being read for a request.
void note_request();

/// Forgets all collections: the next one is a first one again.
void forget_collections();

}  // namespace zol
