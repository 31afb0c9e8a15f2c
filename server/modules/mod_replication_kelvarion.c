/* Who may replicate the masters of this server.
 *
 * ReplicationKelvarion          on: the location is for replication only
 * ReplicationKelvarionPartners  the SID of the group whose members may replicate every master
 *
 * A slave must have all of its master or nothing, so rules for paths do not hold in the location:
 * those of enclosing locations end there. Instead the repository decides: it must be a master that
 * is not suspended, its settings must allow replication, and they or the group must name the
 * account. Nothing can be changed through the location.
 */

#include "account.h"
#include "httpd_module.h"
#include "mod_dav_svn.h"
#include "svn_config.h"
#include "svn_dirent_uri.h"
#include "svn_error.h"
#include "svn_io.h"
#include "svn_string.h"

APLOG_USE_MODULE(replication_kelvarion);

typedef struct {
  const char* location; /* without "/" at the end */
  const char* partners;
  int on;
} DirConfig;

static void* CreateDirConfig(apr_pool_t* pool, char* dir) {
  DirConfig* config = apr_pcalloc(pool, sizeof *config);
  config->location = dir ? apr_pstrdup(pool, dir) : "";
  config->on = kInherited;
  return config;
}

static void* MergeDirConfig(apr_pool_t* pool, void* base, void* overrides) {
  const DirConfig *outer = base, *inner = overrides;
  DirConfig* config = apr_pmemdup(pool, outer, sizeof *outer);
  if (inner->on != kInherited) {
    config->on = inner->on;
    config->location = inner->location;
  }
  if (inner->partners) config->partners = inner->partners;
  return config;
}

static const DirConfig* ConfigOf(const request_rec* r) {
  return ap_get_module_config(r->per_dir_config, &replication_kelvarion_module);
}

/* --- What the repository says ------------------------------------------------------------------
 */

static int HasLine(const apr_array_header_t* lines, const char* line) {
  for (int i = 0; i < lines->nelts; ++i)
    if (strcmp(APR_ARRAY_IDX(lines, i, const char*), line) == 0) return 1;
  return 0;
}

/* The lines of the file that says what the repository is in replication; none without one. */
static apr_array_header_t* RoleOf(request_rec* r, const char* folder) {
  svn_stringbuf_t* text;
  svn_error_t* error =
      svn_stringbuf_from_file2(&text, svn_dirent_join(folder, "ormu.conf", r->pool), r->pool);
  if (!error) return svn_cstring_split(text->data, "\r\n", TRUE, r->pool);
  if (!APR_STATUS_IS_ENOENT(error->apr_err) && !APR_STATUS_IS_ENOTDIR(error->apr_err))
    ap_log_rerror(APLOG_MARK, APLOG_ERR, error->apr_err, r, "the role of %s cannot be read",
                  folder);
  svn_error_clear(error);
  return apr_array_make(r->pool, 0, sizeof(const char*));
}

typedef struct {
  const apr_array_header_t* sids;
  int found;
} Search;

static int IsAmong(const apr_array_header_t* sids, const char* sid) {
  for (int i = 0; sids && i < sids->nelts; ++i)
    if (ap_cstr_casecmp(APR_ARRAY_IDX(sids, i, const char*), sid) == 0) return 1;
  return 0;
}

static svn_boolean_t LookFor(const char* name, const char* value, void* baton, apr_pool_t* pool) {
  Search* search = baton;
  (void)value, (void)pool;
  search->found = IsAmong(search->sids, name);
  return !search->found;
}

/* Why the account may not replicate the repository; NULL when it may. */
static const char* Objection(request_rec* r, const char* folder, const char* partners) {
  APR_OPTIONAL_FN_TYPE(kelvarion_account_sids)* find_sids =
      APR_RETRIEVE_OPTIONAL_FN(kelvarion_account_sids);
  Search search = {find_sids ? find_sids(r) : NULL, 0};
  const char* file = svn_dirent_join(folder, "conf/Kelvarion-Replication.ini", r->pool);
  svn_boolean_t enabled = FALSE;
  svn_config_t* settings;
  svn_error_t* error = svn_config_read3(&settings, file, FALSE, TRUE, TRUE, r->pool);
  if (!error) error = svn_config_get_bool(settings, &enabled, "general", "enabled", FALSE);
  if (error) {
    ap_log_rerror(APLOG_MARK, APLOG_ERR, error->apr_err, r, "%s cannot be used", file);
    svn_error_clear(error);
    return "its settings cannot be read";
  }
  if (!enabled) return "its settings do not allow replication";
  if (!search.sids) return "no account of this machine";
  if (partners && IsAmong(search.sids, partners)) return NULL;
  svn_config_enumerate2(settings, "replicators", LookFor, &search, r->pool);
  return search.found ? NULL : "the account is not one of its replicators";
}

/* --- Requests ----------------------------------------------------------------------------------
 */

static int Refuse(request_rec* r, int status, const char* repository, const char* reason) {
  ap_log_rerror(APLOG_MARK, APLOG_ERR, 0, r, "replication of '%s' refused to '%s' (%s): %s",
                repository, r->user ? r->user : "", r->method, reason);
  return status;
}

static int IsReading(const request_rec* r) {
  return r->method_number == M_GET || r->method_number == M_OPTIONS ||
         r->method_number == M_PROPFIND || r->method_number == M_REPORT;
}

/* Than the location itself. */
static int NamesMore(const request_rec* r, const DirConfig* config) {
  const size_t length = strlen(config->location);
  return strlen(r->uri) > length && r->uri[length + strspn(r->uri + length, "/")] != '\0';
}

static int Authorize(request_rec* r) {
  const DirConfig* config = ConfigOf(r);
  const char *cleaned, *repository, *relative, *path, *folder, *objection;
  const apr_array_header_t* role;
  int slash;
  if (config->on != 1) return DECLINED;
  if (!IsReading(r)) return Refuse(r, HTTP_FORBIDDEN, r->uri, "nothing can be changed here");
  if (!NamesMore(r, config) ||
      dav_svn_split_uri(r, r->uri, config->location, &cleaned, &slash, &repository, &relative,
                        &path) ||
      dav_svn_get_repos_path(r, config->location, &folder))
    return Refuse(r, HTTP_FORBIDDEN, r->uri, "it names no repository");
  role = RoleOf(r, folder);
  /* Whether there is another repository of the name is nobody's business here. */
  if (!HasLine(role, "role = master"))
    return Refuse(r, HTTP_NOT_FOUND, repository, "there is no such master");
  if (!HasLine(role, "suspended = no"))
    return Refuse(r, HTTP_FORBIDDEN, repository, "it is suspended");
  objection = Objection(r, folder, config->partners);
  return objection ? Refuse(r, HTTP_FORBIDDEN, repository, objection) : DECLINED;
}

static int ForceAuthentication(request_rec* r) { return ConfigOf(r)->on == 1 ? OK : DECLINED; }

/* The settings are shared between requests; a merge with nothing makes a copy. */
static int DropPathRules(request_rec* r) {
  static const char* const kModules[] = {"mod_authz_svn.c", "mod_authz_kelvarion.c"};
  if (ConfigOf(r)->on != 1) return DECLINED;
  r->per_dir_config =
      ap_merge_per_dir_configs(r->pool, r->per_dir_config, ap_create_per_dir_config(r->pool));
  for (int i = 0; i < 2; ++i) {
    module* target = ap_find_linked_module(kModules[i]);
    if (target)
      ap_set_module_config(r->per_dir_config, target, target->create_dir_config(r->pool, NULL));
  }
  return DECLINED;
}

static void RegisterHooks(apr_pool_t* pool) {
  (void)pool;
  ap_hook_post_perdir_config(DropPathRules, NULL, NULL, APR_HOOK_REALLY_FIRST);
  ap_hook_force_authn(ForceAuthentication, NULL, NULL, APR_HOOK_FIRST);
  ap_hook_check_authz(Authorize, NULL, NULL, APR_HOOK_REALLY_FIRST, AP_AUTH_INTERNAL_PER_URI);
}

static const command_rec kCommands[] = {
    AP_INIT_FLAG("ReplicationKelvarion", ap_set_flag_slot, (void*)APR_OFFSETOF(DirConfig, on),
                 ACCESS_CONF, "whether the location is for replication only"),
    AP_INIT_TAKE1("ReplicationKelvarionPartners", ap_set_string_slot,
                  (void*)APR_OFFSETOF(DirConfig, partners), ACCESS_CONF,
                  "the SID of the group whose members may replicate every master"),
    {NULL}};

module AP_MODULE_DECLARE_DATA replication_kelvarion_module = {
    STANDARD20_MODULE_STUFF, CreateDirConfig,    MergeDirConfig, NULL, NULL, kCommands,
    RegisterHooks,           AP_MODULE_FLAG_NONE};
