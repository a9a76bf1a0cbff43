#include "core/scalar.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>

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
  int32_t *target = staged_ ? &answer_ : value_;
  answer_ = *value_;
  get_(target);
  answer_ = *target;
  return reinterpret_cast<unsigned char *>(&answer_);
}

int IntegerScalar::write(int action, const unsigned char *value, unsigned char type, size_t length) {
  switch (action) {
    case phase::reserve1:
      if (const int refusal = check_integer(type, length)) return refusal;
      pending_ = integer_at(value, length);
      if (!info_.accepts(pending_)) return SNMP_ERR_WRONGVALUE;
      return settable_ == nullptr || settable_() ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGVALUE;
    case phase::action:
      before_ = *value_;
      *value_ = pending_;
      set_(pending_);
      break;
    case phase::undo:
      *value_ = before_;
      break;
    default:
      break;
  }
  return SNMP_ERR_NOERROR;
}

unsigned char *AddressScalar::find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                                   WriteMethod **write_method) {
  if (!matched(row, name, length, exact, value_length, write_method)) return nullptr;
  get_(value_);
  answer_ = htonl(*value_);
  return reinterpret_cast<unsigned char *>(&answer_);
}

int AddressScalar::write(int action, const unsigned char *value, unsigned char type, size_t length) {
  switch (action) {
    case phase::reserve1:
      if (type != ASN_IPADDRESS) return SNMP_ERR_WRONGTYPE;
      return length == sizeof(Ipv4) ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGLENGTH;
    case phase::action: {
      before_ = *value_;
      *value_ = address_at(value);
      set_(*value_);
      break;
    }
    case phase::undo:
      *value_ = before_;
      break;
    default:
      break;
  }
  return SNMP_ERR_NOERROR;
}

void AddressScalar::preset(const char *text) {
  if (prints_token_) printf("val=[%s]\n", text);
  *value_ = static_cast<Ipv4>(to_int32(text));
}

unsigned char *TextScalar::find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                                WriteMethod **write_method) {
  if (!matched(row, name, length, exact, value_length, write_method)) return nullptr;
  get_(answer_.data());
  *value_length = measure_ != nullptr ? measure_() : fixed_length_ != 0 ? fixed_length_ : strlen(answer_.data());
  return reinterpret_cast<unsigned char *>(answer_.data());
}

int TextScalar::check(const unsigned char *value, size_t length) const {
  if (check_ != nullptr) return check_(value, length);
  const auto most = static_cast<size_t>(info_.accepts.interval[0].high);
  const auto least = static_cast<size_t>(info_.accepts.interval[0].low);
  return least <= length && length <= most ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGLENGTH;
}

int TextScalar::write(int action, const unsigned char *value, unsigned char type, size_t length) {
  switch (action) {
    case phase::reserve1:
      return type == ASN_OCTET_STR ? check(value, length) : SNMP_ERR_WRONGTYPE;
    case phase::action: {
      const size_t kept = std::min(length, value_.size() - 1);
      memcpy(before_.data(), value_.data(), value_.size());
      if (kept > 0) memcpy(value_.data(), value, kept);
      value_[kept] = '\0';
      set_(value_.data());
      break;
    }
    case phase::undo:
      if (restores_) memcpy(value_.data(), before_.data(), value_.size());
      break;
    default:
      break;
  }
  return SNMP_ERR_NOERROR;
}

}  // namespace zol
