#include "mib/clients/client_list.hpp"

#include <cstdio>
#include <cstring>

#include "core/lock.hpp"
#include "core/sorted_list.hpp"
#include "core/text.hpp"

namespace zol::client_list {
namespace {

pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
constinit SortedList<ClientRecord> clients;
constinit SortedList<ClientIndexRecord> former_clients;

template <class Record>
void insert_or_complain(SortedList<Record> &list, const Record &record) {
  if (!list.insert(record)) printf("Failed to allocate memory\n");
}

}  // namespace

void make_key(ClientRecord &record) {
  snprintf(record.key, sizeof record.key, "%04d %s", record.ifindex, record.mac_text);
}

void update(std::span<const ClientRecord> collected) {
  const Lock lock(guard);
  if (collected.size() < former_clients.count()) {
    clients.clear();
    former_clients.clear();
  }
  for (const ClientRecord &record : collected) {
    insert_or_complain(clients, record);
    ClientIndexRecord former{};
    copy_text(former.key, record.key);
    copy_text(former.mac_text, record.mac_text);
    insert_or_complain(former_clients, former);
  }
}

void insert(const ClientRecord &record) {
  const Lock lock(guard);
  insert_or_complain(clients, record);
}

bool copy(size_t position, ClientRecord &record) {
  const Lock lock(guard);
  const ClientRecord *listed = clients.at(position);
  if (listed == nullptr) return false;
  record = *listed;
  return true;
}

bool next(ClientRecord &record) {
  const Lock lock(guard);
  // The character behind the key's end makes the next possible key.
  char behind[sizeof record.key + 1];
  snprintf(behind, sizeof behind, "%s\1", record.key);
  const ClientRecord *listed = clients.from(behind);
  if (listed == nullptr) return false;
  record = *listed;
  return true;
}

void store(const ClientRecord &record) {
  const Lock lock(guard);
  ClientRecord *listed = clients.from(record.key);
  if (listed != nullptr && strcmp(listed->key, record.key) == 0) *listed = record;
}

void clear(Former former) {
  const Lock lock(guard);
  clients.clear();
  if (former == Former::drop) former_clients.clear();
}

}  // namespace zol::client_list
