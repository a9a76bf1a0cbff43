// Whether collections are to give up. The tasks and the readers that they call both ask.

#include <atomic>

#include "mib/clients/clients.hpp"

namespace {

constinit std::atomic<bool> abandoned = false;

}  // namespace

void zol::abandon_collections(bool abandon) { abandoned = abandon; }
bool zol::collections_abandoned() { return abandoned.load(std::memory_order_relaxed); }
