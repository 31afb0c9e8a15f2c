/* What an account of this machine may read and write, by rules kept with each repository and rules
 * for all of them.
 *
 * AuthzKelvarionReposRelativeAccessFile  name of the rules file in each repository's conf folder
 * AuthzKelvarionGlobalAccessFile         path of the rules file for all repositories
 * AuthzKelvarionAuthoritative            off: what the rules do not allow, others may still allow
 *
 * The rules are not yet evaluated, so everything they govern is denied and the log says why.
 */

#include "ap_provider.h"
#include "httpd_module.h"
#include "mod_authz_svn.h"

APLOG_USE_MODULE(authz_kelvarion);

typedef struct {
  const char* repository_file;
  const char* global_file;
  int authoritative; /* on unless configured otherwise */
} DirConfig;

static void* CreateDirConfig(apr_pool_t* pool, char* dir) {
  DirConfig* config = apr_pcalloc(pool, sizeof *config);
  (void)dir;
  config->authoritative = kInherited;
  return config;
}

/* Rules reach into inner locations: a section that sets nothing but Authoritative must not open
 * what the rules close. */
static void* MergeDirConfig(apr_pool_t* pool, void* base, void* overrides) {
  const DirConfig *outer = base, *inner = overrides;
  DirConfig* config = apr_palloc(pool, sizeof *config);
  config->repository_file =
      inner->repository_file ? inner->repository_file : outer->repository_file;
  config->global_file = inner->global_file ? inner->global_file : outer->global_file;
  config->authoritative =
      inner->authoritative == kInherited ? outer->authoritative : inner->authoritative;
  return config;
}

static int IsGoverned(const DirConfig* config) {
  return config->repository_file || config->global_file;
}

/* Whether the rules let the user do what the request asks on `path`. The one place that has to
 * change when rules can be evaluated: nothing is allowed before. */
static int IsAllowed(request_rec* r, const char* path) {
  ap_log_rerror(APLOG_MARK, APLOG_ERR, 0, r,
                "access of '%s' to %s denied: rules for the accounts of this machine are not "
                "evaluated; use Subversion authentication",
                r->user ? r->user : "", path);
  return 0;
}

static int IsDecidedHere(request_rec* r) {
  const DirConfig* config = ap_get_module_config(r->per_dir_config, &authz_kelvarion_module);
  return IsGoverned(config) && config->authoritative != 0;
}

static int Authorize(request_rec* r) {
  if (!IsDecidedHere(r)) return DECLINED;
  return IsAllowed(r, r->uri) ? OK : HTTP_FORBIDDEN;
}

/* A "Require" that needs no user, such as "Require ip", would otherwise let its requests in before
 * the rules are asked. */
static int ForceAuthentication(request_rec* r) { return IsDecidedHere(r) ? OK : DECLINED; }

/* How mod_dav_svn asks about one path of a repository without a request of its own. */
static int AuthorizePath(request_rec* r, const char* path, const char* repository) {
  return IsAllowed(r, apr_pstrcat(r->pool, repository, ":", path ? path : "", NULL))
             ? OK
             : HTTP_FORBIDDEN;
}

static void RegisterHooks(apr_pool_t* pool) {
  /* Asked again for every address: sub-requests for the repositories of a listing share their
   * settings, and one answer for all of them would show every repository. */
  ap_hook_force_authn(ForceAuthentication, NULL, NULL, APR_HOOK_FIRST);
  ap_hook_check_authz(Authorize, NULL, NULL, APR_HOOK_FIRST, AP_AUTH_INTERNAL_PER_URI);
  ap_register_provider(pool, AUTHZ_SVN__SUBREQ_BYPASS_PROV_GRP, AUTHZ_SVN__SUBREQ_BYPASS_PROV_NAME,
                       AUTHZ_SVN__SUBREQ_BYPASS_PROV_VER, (void*)AuthorizePath);
}

static const command_rec kCommands[] = {
    AP_INIT_TAKE1("AuthzKelvarionReposRelativeAccessFile", ap_set_string_slot,
                  (void*)APR_OFFSETOF(DirConfig, repository_file), ACCESS_CONF,
                  "name of the rules file in the conf folder of each repository"),
    AP_INIT_TAKE1("AuthzKelvarionGlobalAccessFile", ap_set_file_slot,
                  (void*)APR_OFFSETOF(DirConfig, global_file), ACCESS_CONF,
                  "path of the rules file for all repositories"),
    AP_INIT_FLAG("AuthzKelvarionAuthoritative", ap_set_flag_slot,
                 (void*)APR_OFFSETOF(DirConfig, authoritative), ACCESS_CONF,
                 "whether what the rules do not allow is denied at once"),
    {NULL}};

module AP_MODULE_DECLARE_DATA authz_kelvarion_module = {
    STANDARD20_MODULE_STUFF, CreateDirConfig,    MergeDirConfig, NULL, NULL, kCommands,
    RegisterHooks,           AP_MODULE_FLAG_NONE};
