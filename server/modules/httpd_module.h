/* What every module includes of Apache. httpd.h stands first, the others lean on it. */
#pragma once

/* clang-format off */
#include "httpd.h"
#include "apr_strings.h"
#include "http_config.h"
#include "http_core.h"
#include "http_log.h"
#include "http_protocol.h"
#include "http_request.h"
/* clang-format on */

/* The value of an on/off directive that an inner section leaves to the enclosing one. */
enum { kInherited = -1 };
