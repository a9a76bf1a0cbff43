#include "core/scalar.hpp"

#include <array>
#include <cstdio>
#include <cstring>

#include "core/command/request.hpp"

namespace zol {

void Scalar::register_row(variable *row, size_t size) {
  Arcs prefix = info_.oid;
  prefix.count = static_cast<uint8_t>(prefix.count - row_arcs_);
  registration_.add_rows(info_.name, row, size, 1, prefix);
  if (has_token_) remove_token(info_.name);
  add_token(info_.name, functions_.parse_config, functions_.free_config);
  has_token_ = true;
}

void Scalar::deinit() {
  registration_.remove_rows();
  if (has_token_) remove_token(info_.name);
  has_token_ = false;
}

bool Scalar::matched(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                     WriteMethod **write_method) const {
  if (!matches(row, name, length, exact, value_length, write_method) || row->magic != 1) return false;
  if (info_.access == read_write) *write_method = functions_.write;
  return true;
}

unsigned char *IntegerScalar::find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                                   WriteMethod **write_method) {
  if (!matched(row, name, length, exact, value_length, write_method)) return nullptr;
  const Request request(info_.name);
  const int32_t before = *value();
  int32_t *target = staged_ ? &answer_ : value();
  answer_ = before;
  get_(target);
  if (request.late()) {
    *value() = before;
    return nullptr;
  }
  answer_ = *target;
  return reinterpret_cast<unsigned char *>(&answer_);
}

unsigned char *AddressScalar::find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                                   WriteMethod **write_method) {
  if (!matched(row, name, length, exact, value_length, write_method)) return nullptr;
  const Request request(info_.name);
  const Ipv4 before = *value();
  get_(value());
  if (request.late()) {
    *value() = before;
    return nullptr;
  }
  answer_ = htonl(*value());
  return reinterpret_cast<unsigned char *>(&answer_);
}

void AddressScalar::preset(const char *text) {
  if (prints_token_) printf("val=[%s]\n", text);
  *value() = static_cast<Ipv4>(to_int32(text));
}

unsigned char *TextScalar::find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                                WriteMethod **write_method) {
  if (!matched(row, name, length, exact, value_length, write_method)) return nullptr;
  const Request request(info_.name);
  std::array<char, most_text_bytes> before;
  memcpy(before.data(), answer_.data(), answer_.size());
  get_(answer_.data());
  if (request.late()) {
    memcpy(answer_.data(), before.data(), answer_.size());
    return nullptr;
  }
  *value_length = measure_ != nullptr ? measure_() : fixed_length_ != 0 ? fixed_length_ : strlen(answer_.data());
  return reinterpret_cast<unsigned char *>(answer_.data());
}

}  // namespace zol
