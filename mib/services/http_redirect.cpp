// The captive-portal redirect: a switch and a URL, both only stored, on the agent's own handlers.

#include "core/stored_setting.hpp"

/// Only stored in the agent; nothing on the device reads it.
ZOL_STORED_INTEGER(http_redirect_enable, 1, 16, 1)

/// Only stored in the agent; nothing on the device reads it.
ZOL_STORED_TEXT(http_redirect_url, 120, "http://127.0.0.1/redirect", 16, 2)
