// The captive-portal redirect: a switch and a URL, both only stored, on the agent's own handlers.

#include <cstdlib>
#include <cstring>

#include "core/enterprise.hpp"
#include "core/stored_setting.hpp"

/// Only stored in the agent; nothing on the device reads it.
ZOL_STORED_INTEGER(http_redirect_enable, 1, 16, 1)

namespace {

constexpr char default_url[] = "http://127.0.0.1/redirect";
constexpr size_t most_url_bytes = 120;

constexpr zol::ObjectInfo url_info{"http_redirect_url",           {16, 2}, ASN_OCTET_STR, zol::read_write,
                                   zol::range(0, most_url_bytes), 0};

netsnmp_watcher_info *watcher = nullptr;
int32_t registered_enterprise = 0;

zol::FullOid url_instance(int32_t enterprise) { return zol::full_oid(enterprise, {16, 2, 0}); }

}  // namespace

extern "C" {

/// The text, with room for the terminator that the agent's handler writes behind the longest one.
ZOL_EXPORT char http_redirect_url[most_url_bytes + 1];

ZOL_EXPORT void init_http_redirect_url_string(void);
ZOL_EXPORT void init_http_redirect_url(void);
ZOL_EXPORT void deinit_http_redirect_url(void);
}

void init_http_redirect_url_string(void) {
  deinit_http_redirect_url();
  memcpy(http_redirect_url, default_url, sizeof default_url);
  zol::FullOid full = url_instance(snmp_enterprise_oid);
  netsnmp_handler_registration *registration = netsnmp_create_handler_registration(
      "my http_redirect_url string", nullptr, full.arc.data(), full.length, HANDLER_CAN_RWRITE);
  // The flags make the handler measure the text anew at every GET and end it at every SET.
  constexpr int flags = 120;
  watcher = netsnmp_create_watcher_info(http_redirect_url, strlen(http_redirect_url), ASN_OCTET_STR, flags);
  watcher->max_size = most_url_bytes;
  // The present releases look at the maximum only when they are told to, and would write a longer text past the buffer.
  watcher->flags |= WATCHER_MAX_SIZE;
  registered_enterprise = snmp_enterprise_oid;
  if (netsnmp_register_watched_instance(registration, watcher) != MIB_REGISTERED_OK) {
    zol::log_line("http_redirect_url: the agent refused the registration");
  }
}

void init_http_redirect_url(void) { init_http_redirect_url_string(); }

void deinit_http_redirect_url(void) {
  if (watcher == nullptr) return;
  zol::FullOid full = url_instance(registered_enterprise);
  unregister_mib(full.arc.data(), full.length);
  free(watcher);
  watcher = nullptr;
}

/// Only stored in the agent; nothing on the device reads it.
ZOL_REGISTER(http_redirect_url, "http_redirect_url", init_http_redirect_url, deinit_http_redirect_url, &url_info, 1)
