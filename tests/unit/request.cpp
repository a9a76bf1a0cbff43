#include "tests/unit/request.hpp"

#include <algorithm>
#include <array>
#include <cstring>

int32_t Answer::integer() const {
  int32_t number = 0;
  memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
  return number;
}

variable registered_row(std::initializer_list<oid> arcs, unsigned char magic) {
  variable row{};
  row.magic = magic;
  for (const oid arc : std::initializer_list<oid>{1, 3, 6, 1, 4, 1, 0, 8, 1}) row.name[row.namelen++] = arc;
  for (const oid arc : arcs) row.name[row.namelen++] = arc;
  return row;
}

std::optional<Answer> get(zol::FindMethod *find, std::initializer_list<oid> arcs, unsigned char magic) {
  variable row = registered_row(arcs, magic);
  std::array<oid, MAX_OID_LEN> name{};
  memcpy(name.data(), row.name, row.namelen * sizeof(oid));
  size_t length = row.namelen + size_t{1};
  size_t value_length = 0;
  Answer answer;
  const unsigned char *bytes = find(&row, name.data(), &length, 1, &value_length, &answer.write);
  if (bytes == nullptr) return std::nullopt;
  answer.bytes.assign(reinterpret_cast<const char *>(bytes), value_length);
  answer.name.assign(name.begin(), name.begin() + static_cast<ptrdiff_t>(length));
  return answer;
}

int set_phase(WriteMethod *write, int phase, unsigned char type, const std::string &value) {
  std::string bytes = value;
  return write(phase, reinterpret_cast<unsigned char *>(bytes.data()), type, bytes.size(), nullptr, nullptr, 0);
}

int set_phase(WriteMethod *write, int phase, int32_t value) {
  return set_phase(write, phase, ASN_INTEGER, {reinterpret_cast<const char *>(&value), sizeof value});
}

int set(WriteMethod *write, unsigned char type, const std::string &value) {
  if (const int refusal = set_phase(write, MODE_SET_RESERVE1, type, value)) {
    set_phase(write, MODE_SET_FREE, type, value);
    return refusal;
  }
  for (const int phase : {MODE_SET_RESERVE2, MODE_SET_ACTION, MODE_SET_COMMIT}) {
    if (const int error = set_phase(write, phase, type, value)) return error;
  }
  return 0;
}

int set(WriteMethod *write, int32_t value) {
  return set(write, ASN_INTEGER, {reinterpret_cast<const char *>(&value), sizeof value});
}
