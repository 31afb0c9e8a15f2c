/* What mod_authn_kelvarion knows about the account of a request, for modules that decide by it. */
#pragma once

#include "apr_optional.h"
#include "apr_tables.h"
#include "httpd.h"

/* The SIDs of the account that the request was authenticated as, as texts (const char*); NULL when
 * there is none. Looked for also in the requests that led to this one (main, prev). The array lives
 * as long as the request that it was found in and is not changed. */
APR_DECLARE_OPTIONAL_FN(const apr_array_header_t*, kelvarion_account_sids, (request_rec * r));
