/* AuthType TestAccounts: accounts of a test's own, in place of those of the machine.
 *
 * TestAccountsFile  path of a file with a line "NAME SID SID ..." for each account
 *
 * Every password is the name of the account. The file is read with every request. Loaded after
 * mod_authn_kelvarion, this module says who asks in its place.
 */

#include "account.h"
#include "httpd_module.h"

APLOG_USE_MODULE(test_accounts);

typedef struct {
  const char* file;
} DirConfig;

static void* CreateDirConfig(apr_pool_t* pool, char* dir) {
  (void)dir;
  return apr_pcalloc(pool, sizeof(DirConfig));
}

/* The words of the account's line after the name; NULL without such a line. */
static apr_array_header_t* FindAccount(request_rec* r, const char* path, const char* name) {
  apr_array_header_t* sids = apr_array_make(r->pool, 8, sizeof(char*));
  ap_configfile_t* file;
  char line[4096];
  int found = 0;
  if (ap_pcfg_openfile(&file, r->pool, path) != APR_SUCCESS) return NULL;
  while (!found && ap_cfg_getline(line, sizeof line, file) == APR_SUCCESS) {
    const char* rest = line;
    found = strcmp(ap_getword_white(r->pool, &rest), name) == 0;
    while (found && *rest) APR_ARRAY_PUSH(sids, char*) = ap_getword_white(r->pool, &rest);
  }
  ap_cfg_closefile(file);
  return found ? sids : NULL;
}

static int Authenticate(request_rec* r) {
  const DirConfig* config = ap_get_module_config(r->per_dir_config, &test_accounts_module);
  const char *type = ap_auth_type(r), *user, *password;
  apr_array_header_t* sids = NULL;
  if (!type || strcmp(type, "TestAccounts") != 0) return DECLINED;
  if (ap_get_basic_auth_components(r, &user, &password) == APR_SUCCESS &&
      strcmp(user, password) == 0)
    sids = FindAccount(r, config->file, user);
  if (!sids) {
    apr_table_setn(r->err_headers_out, "WWW-Authenticate", "Basic realm=\"Test\"");
    return HTTP_UNAUTHORIZED;
  }
  r->user = apr_pstrdup(r->pool, user);
  ap_set_module_config(r->request_config, &test_accounts_module, sids);
  return OK;
}

static const apr_array_header_t* kelvarion_account_sids(request_rec* r) {
  for (; r; r = r->main ? r->main : r->prev) {
    const void* sids = ap_get_module_config(r->request_config, &test_accounts_module);
    if (sids) return sids;
  }
  return NULL;
}

static void RegisterHooks(apr_pool_t* pool) {
  (void)pool;
  ap_hook_check_authn(Authenticate, NULL, NULL, APR_HOOK_FIRST, AP_AUTH_INTERNAL_PER_CONF);
  APR_REGISTER_OPTIONAL_FN(kelvarion_account_sids);
}

static const command_rec kCommands[] = {
    AP_INIT_TAKE1("TestAccountsFile", ap_set_file_slot, (void*)APR_OFFSETOF(DirConfig, file),
                  OR_AUTHCFG, "path of the file with the accounts"),
    {NULL}};

module AP_MODULE_DECLARE_DATA test_accounts_module = {
    STANDARD20_MODULE_STUFF, CreateDirConfig,    NULL, NULL, NULL, kCommands,
    RegisterHooks,           AP_MODULE_FLAG_NONE};
