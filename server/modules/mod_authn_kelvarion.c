/* AuthType Kelvarion: who is asking, by the accounts of this machine.
 *
 * AuthnKelvarionBasic       whether a name and password may be sent (HTTP Basic)
 * AuthnKelvarionIntegrated  whether tickets may be sent (HTTP Negotiate)
 * AuthnKelvarionUPN         whether users are named user@domain
 *
 * Passwords are not yet checked against the machine's accounts, so every request under this
 * AuthType is refused and the log says why. Under any other AuthType the module does nothing.
 */

#include "httpd_module.h"

APLOG_USE_MODULE(authn_kelvarion);

typedef struct {
  int basic;
  int integrated;
  int upn;
} DirConfig;

static void* CreateDirConfig(apr_pool_t* pool, char* dir) {
  DirConfig* config = apr_palloc(pool, sizeof *config);
  (void)dir;
  config->basic = config->integrated = config->upn = kInherited;
  return config;
}

static int Inner(int base, int overriding) { return overriding == kInherited ? base : overriding; }

static void* MergeDirConfig(apr_pool_t* pool, void* base, void* overrides) {
  const DirConfig *outer = base, *inner = overrides;
  DirConfig* config = apr_palloc(pool, sizeof *config);
  config->basic = Inner(outer->basic, inner->basic);
  config->integrated = Inner(outer->integrated, inner->integrated);
  config->upn = Inner(outer->upn, inner->upn);
  return config;
}

/* Whether the password is that of the account. The one place that has to change when accounts can
 * be checked: no account is accepted before. */
static int IsAccountPassword(request_rec* r, const char* user, const char* password) {
  (void)password;
  ap_log_rerror(
      APLOG_MARK, APLOG_ERR, 0, r,
      "AuthType Kelvarion: user '%s' refused: authentication against the accounts of this "
      "machine is not available; use Subversion authentication",
      user);
  return 0;
}

static int Challenge(request_rec* r) {
  const char* realm = ap_auth_name(r);
  const char* header = r->proxyreq == PROXYREQ_PROXY ? "Proxy-Authenticate" : "WWW-Authenticate";
  apr_table_setn(r->err_headers_out, header,
                 apr_psprintf(r->pool, "Basic realm=\"%s\", charset=\"UTF-8\"",
                              realm ? ap_escape_quotes(r->pool, realm) : ""));
  return HTTP_UNAUTHORIZED;
}

static int Authenticate(request_rec* r) {
  const DirConfig* config = ap_get_module_config(r->per_dir_config, &authn_kelvarion_module);
  const char* type = ap_auth_type(r);
  const char *user = NULL, *password = NULL;

  if (!type || ap_cstr_casecmp(type, "Kelvarion") != 0) return DECLINED;
  if (config->basic != 1) {
    ap_log_rerror(APLOG_MARK, APLOG_ERR, 0, r,
                  "AuthType Kelvarion: %s refused: Basic authentication is off and integrated "
                  "authentication is not available",
                  r->uri);
    return HTTP_FORBIDDEN;
  }
  if (ap_get_basic_auth_components(r, &user, &password) != APR_SUCCESS ||
      !IsAccountPassword(r, user, password))
    return Challenge(r);
  r->user = apr_pstrdup(r->pool, user);
  r->ap_auth_type = apr_pstrdup(r->pool, type);
  return OK;
}

static void RegisterHooks(apr_pool_t* pool) {
  (void)pool;
  ap_hook_check_authn(Authenticate, NULL, NULL, APR_HOOK_MIDDLE, AP_AUTH_INTERNAL_PER_CONF);
}

static const command_rec kCommands[] = {
    AP_INIT_FLAG("AuthnKelvarionBasic", ap_set_flag_slot, (void*)APR_OFFSETOF(DirConfig, basic),
                 OR_AUTHCFG, "whether users may authenticate with a name and password"),
    AP_INIT_FLAG("AuthnKelvarionIntegrated", ap_set_flag_slot,
                 (void*)APR_OFFSETOF(DirConfig, integrated), OR_AUTHCFG,
                 "whether users may authenticate with a ticket"),
    AP_INIT_FLAG("AuthnKelvarionUPN", ap_set_flag_slot, (void*)APR_OFFSETOF(DirConfig, upn),
                 OR_AUTHCFG, "whether users are named user@domain"),
    {NULL}};

module AP_MODULE_DECLARE_DATA authn_kelvarion_module = {
    STANDARD20_MODULE_STUFF, CreateDirConfig,    MergeDirConfig, NULL, NULL, kCommands,
    RegisterHooks,           AP_MODULE_FLAG_NONE};
