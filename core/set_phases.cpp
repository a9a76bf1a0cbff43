#include "core/set_phases.hpp"

#include <algorithm>
#include <cstring>

#include "core/command/request.hpp"
#include "core/set_counters.hpp"

namespace zol {

namespace {

/// The phases of a SET in which anything happens.
enum Phase : int { reserve1 = 0, action = 2, commit = 3, undo = 5 };

int counted(int refusal) {
  if (refusal != SNMP_ERR_NOERROR) ++set_counters.refused;
  return refusal;
}

template <class Check, class Apply, class Undo>
int in_phase(int phase, Check check, Apply apply, Undo bring_back) {
  if (phase == reserve1) return counted(check());
  if (phase == commit) ++set_counters.set;
  if (phase == action) apply();
  if (phase == undo) bring_back();
  return SNMP_ERR_NOERROR;
}

}  // namespace

int IntegerSetter::reserve(const unsigned char *bytes, unsigned char type, size_t length) {
  if (const int refusal = check_integer(type, length)) return refusal;
  pending_ = integer_at(bytes, length);
  is_pending_ = accepts_(pending_) && (settable_ == nullptr || settable_());
  return is_pending_ ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGVALUE;
}

int IntegerSetter::write(int phase, const unsigned char *bytes, unsigned char type, size_t length) {
  const Request request(object_);
  if (phase >= action) is_pending_ = false;
  const auto apply = [this] {
    before_ = *value_;
    *value_ = pending_;
    set_(pending_);
  };
  return in_phase(
      phase, [&] { return reserve(bytes, type, length); }, apply, [this] { *value_ = before_; });
}

int AddressSetter::write(int phase, const unsigned char *bytes, unsigned char type, size_t length) {
  const Request request(object_);
  const auto check = [&] {
    if (type != ASN_IPADDRESS) return SNMP_ERR_WRONGTYPE;
    return checks_length_ && length != sizeof(Ipv4) ? SNMP_ERR_WRONGLENGTH : SNMP_ERR_NOERROR;
  };
  const auto apply = [&] {
    before_ = *value_;
    *value_ = address_at(bytes);
    set_(*value_);
  };
  return in_phase(phase, check, apply, [this] { *value_ = before_; });
}

int TextSetter::reserve(const unsigned char *bytes, unsigned char type, size_t length) const {
  if (type != ASN_OCTET_STR) return SNMP_ERR_WRONGTYPE;
  if (const int refusal = check_length(bytes, length)) return refusal;
  return guard_lets_through(object_, bytes, length, guard_) ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGVALUE;
}

int TextSetter::check_length(const unsigned char *bytes, size_t length) const {
  if (check_ != nullptr) return check_(bytes, length);
  const auto most = static_cast<size_t>(accepts_.interval[0].high);
  const auto least = static_cast<size_t>(accepts_.interval[0].low);
  return least <= length && length <= most ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGLENGTH;
}

void TextSetter::keep(const unsigned char *bytes, size_t length) {
  const size_t kept = std::min(length, value_.size() - 1);
  std::ranges::copy(value_.first(before_.size()), before_.begin());
  if (kept > 0) memcpy(value_.data(), bytes, kept);
  value_[kept] = '\0';
}

int TextSetter::write(int phase, const unsigned char *bytes, unsigned char type, size_t length) {
  const Request request(object_);
  const auto apply = [&] {
    keep(bytes, length);
    set_(value_.data());
  };
  const auto bring_back = [this] { std::ranges::copy(before_, value_.begin()); };
  return in_phase(
      phase, [&] { return reserve(bytes, type, length); }, apply, bring_back);
}

}  // namespace zol
