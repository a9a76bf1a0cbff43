// How the agent itself fares (8.2.2).

#include "mib/health/health.hpp"

#include "core/clock.hpp"
#include "core/command/counters.hpp"
#include "core/dynamic_table.hpp"
#include "core/guard.hpp"
#include "core/set_counters.hpp"
#include "mib/stations/stations.hpp"

using namespace zol;

namespace {

int64_t loaded_at = 0;

std::optional<uint32_t> of_collection(uint32_t value) { return any_collection() ? std::optional(value) : std::nullopt; }

constexpr DynamicColumn objects[] = {
    /// Commands that were started.
    counter32_column(1, "zol_health_commands", [](size_t) { return std::optional(command_counters.started.load()); }),
    /// Of these the ones that needed a shell.
    counter32_column(2, "zol_health_shells", [](size_t) { return std::optional(command_counters.shells.load()); }),
    /// Answers that were given from what a command had printed before, which zolarcReuse allows.
    counter32_column(3, "zol_health_reused", [](size_t) { return std::optional(command_counters.reused.load()); }),
    /// Commands that missed their deadline (zolarcDeadline), and those that were not started because of it.
    counter32_column(4, "zol_health_late", [](size_t) { return std::optional(command_counters.late.load()); }),
    /// Objects that were not set because the guard (zolarcGuard) refused the text.
    counter32_column(5, "zol_health_refused", [](size_t) { return std::optional(guard_refusals()); }),
    /// Objects that were set, without those whose value the agent only stores.
    counter32_column(6, "zol_health_sets", [](size_t) { return std::optional(set_counters.set.load()); }),
    /// Objects that were not set because of the type, the length or the value.
    counter32_column(7, "zol_health_sets_refused", [](size_t) { return std::optional(set_counters.refused.load()); }),
    /// Stations that have come: that a collection has found and the one before it not, or not on this interface.
    counter32_column(8, "zol_health_joined", [](size_t) { return std::optional(station_changes.joined); }),
    /// Stations that have gone.
    counter32_column(9, "zol_health_left", [](size_t) { return std::optional(station_changes.left); }),
    /// Complete collections of the stations.
    counter32_column(10, "zol_health_collections", [](size_t) { return std::optional(station_changes.collections); }),
    /// @units milliseconds
    /// How long the last complete collection took.
    gauge_column(11, "zol_health_collection_time", [](size_t) { return of_collection(present_stations().duration); }),
    /// How long ago the last complete collection ended.
    ticks_column(12, "zol_health_collection_age",
                 [](size_t) -> std::optional<uint32_t> {
                   if (!any_collection()) return std::nullopt;
                   return ticks_since(present_stations().began + present_stations().duration);
                 }),
    /// How many stations are associated: the rows of zolStationTable.
    gauge_column(13, "zol_health_stations",
                 [](size_t) { return std::optional(static_cast<uint32_t>(present_stations().stations().size())); }),
    /// @syntax ZolarcText (SIZE (1..63))
    /// The version of the library.
    text_column(14, "zol_health_version", [](size_t) { return std::optional(text_answer(ZOL_VERSION)); }),
    /// @syntax ZolarcText (SIZE (1..127))
    /// Which build of that version it is, as whoever built it has named it.
    text_column(15, "zol_health_build", [](size_t) { return std::optional(text_answer(ZOL_BUILD)); }),
    /// The time since the library was loaded.
    ticks_column(16, "zol_health_uptime", [](size_t) { return std::optional(ticks_since(loaded_at)); }),
};

}  // namespace

ZOL_SCALARS(
    zol_health, objects, .entry = {2}, .prepare = [] { loaded_at = monotonic_ms(); })
