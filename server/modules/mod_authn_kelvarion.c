/* AuthType Kelvarion: who is asking, by the accounts of this machine.
 *
 * AuthnKelvarionBasic       whether a name and password may be sent (HTTP Basic)
 * AuthnKelvarionIntegrated  whether tickets may be sent (HTTP Negotiate); they are not available,
 *                           so nobody gets in by them
 * AuthnKelvarionUPN         whether users are named user@domain
 * AuthnKelvarionHelper      the program that asks the machine, and the home of the server
 * AuthnKelvarionRemember    for how many seconds a password that was right is not asked for again
 *
 * The user of a request is the account's name as the system has it. Under any other AuthType the
 * module does nothing.
 */

#include "account.h"
#include "apr_base64.h"
#include "authn_helper.h"
#include "httpd_module.h"
#include "mpm_common.h"

APLOG_USE_MODULE(authn_kelvarion);

typedef struct {
  int basic;
  int integrated;
  int upn;
} DirConfig;

/* What holds for the whole server; set anew whenever the configuration is read. */
static struct {
  const char* program;
  const char* home;
  const char* remember;
  int passwords; /* Somewhere names and passwords may be sent. */
  int tickets;   /* Somewhere tickets may be sent. */
} settings;

typedef struct {
  const char* user;
  apr_array_header_t* sids;
} Account;

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

static int Challenge(request_rec* r) {
  const char* realm = ap_auth_name(r);
  const char* header = r->proxyreq == PROXYREQ_PROXY ? "Proxy-Authenticate" : "WWW-Authenticate";
  apr_table_setn(r->err_headers_out, header,
                 apr_psprintf(r->pool, "Basic realm=\"%s\", charset=\"UTF-8\"",
                              realm ? ap_escape_quotes(r->pool, realm) : ""));
  return HTTP_UNAUTHORIZED;
}

/* Whether the client sent a NUL, at which Apache's reader stops: everything that follows would be
 * lost. Looks at what that reader decodes, the second word. */
static int HoldsNul(request_rec* r) {
  const char* header = r->proxyreq == PROXYREQ_PROXY ? "Proxy-Authorization" : "Authorization";
  const char* line = apr_table_get(r->headers_in, header);
  const char* encoded = line ? strchr(line, ' ') : NULL;
  char* decoded;
  if (!encoded) return 0;
  encoded += strspn(encoded, " \t");
  decoded = apr_palloc(r->pool, (apr_size_t)apr_base64_decode_len(encoded) + 1);
  return memchr(decoded, '\0', (size_t)apr_base64_decode(decoded, encoded)) != NULL;
}

/* The texts between two NULs, from the second on. */
static apr_array_header_t* Rest(apr_pool_t* pool, const char* text, const char* end) {
  apr_array_header_t* fields = apr_array_make(pool, 16, sizeof(const char*));
  for (text += strlen(text) + 1; text <= end; text += strlen(text) + 1)
    APR_ARRAY_PUSH(fields, const char*) = text;
  return fields;
}

/* The helper's answer as its fields; NULL without one. */
static apr_array_header_t* Ask(request_rec* r, const char* user, const char* password, int upn,
                               const char** verdict) {
  const char* const fields[] = {user, password, r->useragent_ip, upn ? "upn" : "",
                                settings.remember};
  apr_size_t size = 0, answer_size;
  char *question, *at;
  for (int i = 0; i < 5; ++i) size += strlen(fields[i]) + 1;
  question = at = apr_palloc(r->pool, size);
  for (int i = 0; i < 5; ++i) at = apr_cpystrn(at, fields[i], strlen(fields[i]) + 1) + 1;
  *verdict = AskHelper(r, question, size - 1, &answer_size);
  explicit_bzero(question, size);
  return *verdict ? Rest(r->pool, *verdict, *verdict + answer_size) : NULL;
}

static int Accept(request_rec* r, const char* type, apr_array_header_t* names) {
  Account* account = apr_palloc(r->pool, sizeof *account);
  account->user = *(const char**)names->elts;
  account->sids = names;
  --names->nelts;
  names->elts += names->elt_size;
  r->user = apr_pstrdup(r->pool, account->user);
  r->ap_auth_type = apr_pstrdup(r->pool, type);
  ap_set_module_config(r->request_config, &authn_kelvarion_module, account);
  return OK;
}

static int CheckPassword(request_rec* r, const char* type, int upn) {
  const char *user = NULL, *password = NULL, *verdict, *reason;
  apr_array_header_t* words;

  if (ap_get_basic_auth_components(r, &user, &password) != APR_SUCCESS) return Challenge(r);
  if (HoldsNul(r)) {
    ap_log_rerror(APLOG_MARK, APLOG_ERR, 0, r, "AuthType Kelvarion: a login with a NUL refused");
    return Challenge(r);
  }
  words = Ask(r, user, password, upn, &verdict);
  if (!words || words->nelts == 0) return HTTP_INTERNAL_SERVER_ERROR;
  if (strcmp(verdict, "accepted") == 0) return Accept(r, type, words);
  reason = *(const char**)words->elts;
  ap_log_rerror(APLOG_MARK, APLOG_ERR, 0, r, "AuthType Kelvarion: user '%s' %s: %s", user, verdict,
                reason);
  if (strcmp(verdict, "refused") == 0) return Challenge(r);
  if (strcmp(verdict, "busy") != 0) return HTTP_INTERNAL_SERVER_ERROR;
  apr_table_setn(r->err_headers_out, "Retry-After", "10");
  return HTTP_SERVICE_UNAVAILABLE;
}

static int Authenticate(request_rec* r) {
  const DirConfig* config = ap_get_module_config(r->per_dir_config, &authn_kelvarion_module);
  const char* type = ap_auth_type(r);

  if (!type || ap_cstr_casecmp(type, "Kelvarion") != 0) return DECLINED;
  if (config->basic != 1) {
    ap_log_rerror(APLOG_MARK, APLOG_ERR, 0, r,
                  "AuthType Kelvarion: %s refused: Basic authentication is off and integrated "
                  "authentication is not available",
                  r->uri);
    return HTTP_FORBIDDEN;
  }
  return CheckPassword(r, type, config->upn == 1);
}

/* A request that leads to another one hands on its user: whose name it is, whose SIDs they are. */
static const apr_array_header_t* kelvarion_account_sids(request_rec* r) {
  const char* user = r->user;
  for (; user && r; r = r->prev ? r->prev : r->main) {
    const Account* account = ap_get_module_config(r->request_config, &authn_kelvarion_module);
    if (account && strcmp(account->user, user) == 0) return account->sids;
  }
  return NULL;
}

static int ForgetSettings(apr_pool_t* pool, apr_pool_t* log_pool, apr_pool_t* temporary) {
  (void)pool, (void)log_pool, (void)temporary;
  memset(&settings, 0, sizeof settings);
  settings.remember = "60";
  return OK;
}

/* Also when the configuration is only tested: what would be missing later is found before. */
static int CheckSettings(apr_pool_t* pool, apr_pool_t* log_pool, apr_pool_t* temporary,
                         server_rec* s) {
  (void)pool, (void)log_pool, (void)temporary;
  if (!settings.passwords) return OK;
  if (!settings.program)
    ap_log_error(APLOG_MARK, APLOG_STARTUP | APLOG_EMERG, 0, s,
                 "AuthnKelvarionBasic needs AuthnKelvarionHelper, the program that asks PAM; "
                 "\"kelvarionctl init\" configures it");
  else if (access(settings.program, X_OK) != 0)
    ap_log_error(APLOG_MARK, APLOG_STARTUP | APLOG_EMERG, errno, s,
                 "the program that asks PAM cannot be run: %s", settings.program);
  else
    return OK;
  return HTTP_INTERNAL_SERVER_ERROR;
}

/* The configuration is read twice before a server starts, and once when it is only tested. */
static int Start(apr_pool_t* pool, apr_pool_t* log_pool, apr_pool_t* temporary, server_rec* s) {
  (void)log_pool, (void)temporary;
  if (ap_state_query(AP_SQ_MAIN_STATE) == AP_SQ_MS_CREATE_PRE_CONFIG ||
      ap_state_query(AP_SQ_RUN_MODE) != AP_SQ_RM_NORMAL)
    return OK;
  if (settings.tickets)
    ap_log_error(APLOG_MARK, APLOG_WARNING, 0, s,
                 "AuthnKelvarionIntegrated: logging in with tickets is not available; only names "
                 "and passwords are");
  StartHelper(pool, s, settings.passwords ? settings.program : NULL, settings.home);
  return OK;
}

static int Monitor(apr_pool_t* pool, server_rec* s) {
  (void)pool, (void)s;
  KeepHelperRunning();
  return OK;
}

static void BeginWorker(apr_pool_t* pool, server_rec* s) {
  (void)pool;
  ProtectWorker(s);
}

static const char* SetFlag(cmd_parms* cmd, void* config, int on) {
  if (on && cmd->info == (void*)APR_OFFSETOF(DirConfig, basic)) settings.passwords = 1;
  if (on && cmd->info == (void*)APR_OFFSETOF(DirConfig, integrated)) settings.tickets = 1;
  return ap_set_flag_slot(cmd, config, on);
}

static const char* SetHelper(cmd_parms* cmd, void* config, const char* program, const char* home) {
  (void)config;
  settings.program = ap_server_root_relative(cmd->pool, program);
  settings.home = ap_server_root_relative(cmd->pool, home);
  return settings.program && settings.home ? NULL : "needs a program and a folder";
}

static const char* SetRemember(cmd_parms* cmd, void* config, const char* seconds) {
  const char* const wrong = "takes a number of seconds, at most 600";
  (void)config;
  if (!*seconds || strlen(seconds) > 3 || strspn(seconds, "0123456789") != strlen(seconds))
    return wrong;
  settings.remember = apr_pstrdup(cmd->pool, seconds);
  return atoi(seconds) <= 600 ? NULL : wrong;
}

static void RegisterHooks(apr_pool_t* pool) {
  (void)pool;
  ap_hook_pre_config(ForgetSettings, NULL, NULL, APR_HOOK_MIDDLE);
  ap_hook_check_config(CheckSettings, NULL, NULL, APR_HOOK_MIDDLE);
  ap_hook_post_config(Start, NULL, NULL, APR_HOOK_LAST);
  ap_hook_monitor(Monitor, NULL, NULL, APR_HOOK_MIDDLE);
  ap_hook_child_init(BeginWorker, NULL, NULL, APR_HOOK_MIDDLE);
  ap_hook_check_authn(Authenticate, NULL, NULL, APR_HOOK_MIDDLE, AP_AUTH_INTERNAL_PER_CONF);
  APR_REGISTER_OPTIONAL_FN(kelvarion_account_sids);
}

static const command_rec kCommands[] = {
    AP_INIT_FLAG("AuthnKelvarionBasic", SetFlag, (void*)APR_OFFSETOF(DirConfig, basic), OR_AUTHCFG,
                 "whether users may authenticate with a name and password"),
    AP_INIT_FLAG("AuthnKelvarionIntegrated", SetFlag, (void*)APR_OFFSETOF(DirConfig, integrated),
                 OR_AUTHCFG, "whether users may authenticate with a ticket"),
    AP_INIT_FLAG("AuthnKelvarionUPN", ap_set_flag_slot, (void*)APR_OFFSETOF(DirConfig, upn),
                 OR_AUTHCFG, "whether users are named user@domain"),
    AP_INIT_TAKE2("AuthnKelvarionHelper", SetHelper, NULL, RSRC_CONF,
                  "the program that asks the machine, and the home of the server"),
    AP_INIT_TAKE1("AuthnKelvarionRemember", SetRemember, NULL, RSRC_CONF,
                  "seconds for which a right password is remembered"),
    {NULL}};

module AP_MODULE_DECLARE_DATA authn_kelvarion_module = {
    STANDARD20_MODULE_STUFF, CreateDirConfig,    MergeDirConfig, NULL, NULL, kCommands,
    RegisterHooks,           AP_MODULE_FLAG_NONE};
