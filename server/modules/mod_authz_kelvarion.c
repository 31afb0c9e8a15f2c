/* What an account of this machine may read and write, by rules kept with each repository and rules
 * for all of them.
 *
 * AuthzKelvarionReposRelativeAccessFile  name of the rules file in each repository's conf folder
 * AuthzKelvarionGlobalAccessFile         path of the rules file for all repositories
 * AuthzKelvarionAuthoritative            off: what the rules do not allow, others may still allow
 *
 * The files are named in the location that says where the repositories lie. A missing file has no
 * rules; one that cannot be used denies everything. What the rules allow, the Require lines have to
 * allow as well, except with AuthzKelvarionAuthoritative off, where either is enough.
 */

#include "access_rules.h"
#include "account.h"
#include "ap_provider.h"
#include "httpd_module.h"
#include "mod_authz_svn.h"
#include "mod_dav_svn.h"
#include "svn_dirent_uri.h"

APLOG_USE_MODULE(authz_kelvarion);

typedef struct {
  const char* location; /* the one that names the files, without "/" at the end */
  const char* repository_file;
  const char* global_file;
  int authoritative; /* on unless configured otherwise */
} DirConfig;

static const char* WithoutLastSlash(apr_pool_t* pool, const char* path) {
  const size_t length = strlen(path);
  return length > 1 && path[length - 1] == '/' ? apr_pstrmemdup(pool, path, length - 1) : path;
}

static void* CreateDirConfig(apr_pool_t* pool, char* dir) {
  DirConfig* config = apr_pcalloc(pool, sizeof *config);
  config->location = WithoutLastSlash(pool, dir ? dir : "/");
  config->authoritative = kInherited;
  return config;
}

/* Rules reach into inner locations: a section that sets nothing but Authoritative must not open
 * what the rules close. */
static void* MergeDirConfig(apr_pool_t* pool, void* base, void* overrides) {
  const DirConfig *outer = base, *inner = overrides;
  DirConfig* config = apr_pmemdup(pool, outer, sizeof *outer);
  if (inner->repository_file || inner->global_file) config->location = inner->location;
  if (inner->repository_file) config->repository_file = inner->repository_file;
  if (inner->global_file) config->global_file = inner->global_file;
  if (inner->authoritative != kInherited) config->authoritative = inner->authoritative;
  return config;
}

static const DirConfig* ConfigOf(const request_rec* r) {
  return ap_get_module_config(r->per_dir_config, &authz_kelvarion_module);
}

static int IsGoverned(const DirConfig* config) {
  return config->repository_file || config->global_file;
}

/* --- What a request asks for ------------------------------------------------------------------ */

typedef struct {
  const char* repository;
  /* Canonical; NULL for what belongs to the repository as a whole: revisions, commits as such. */
  const char* path;
} Place;

/* OK, or the status of a request that names no place. */
static int Locate(request_rec* r, const DirConfig* config, Place* place) {
  const char *cleaned, *relative, *path;
  int slash;
  const dav_error* error = dav_svn_split_uri(r, r->uri, config->location, &cleaned, &slash,
                                             &place->repository, &relative, &path);
  if (error) {
    ap_log_rerror(APLOG_MARK, APLOG_INFO, 0, r, "%s is no place in a repository: %s", r->uri,
                  error->desc);
    return ap_is_HTTP_ERROR(error->status) ? error->status : HTTP_INTERNAL_SERVER_ERROR;
  }
  /* A merge may be asked of any address: what it commits was asked about when it was sent. */
  if (!path || r->method_number == M_MERGE)
    place->path = NULL;
  else
    place->path =
        apr_pstrcat(r->pool, "/", svn_relpath_canonicalize(path + (*path == '/'), r->pool), NULL);
  return OK;
}

typedef struct {
  AccessLevel level;
  int tree; /* also everywhere below */
} Need;

static Need NeedOf(const request_rec* r) {
  switch (r->method_number) {
    case M_GET:
    case M_OPTIONS:
    case M_PROPFIND:
    case M_REPORT:
      return (Need){kAccessRead, 0};
    case M_COPY:
      /* The target: mod_dav looks it up by a request of its own, of the same method. */
      if (r->main) return (Need){kAccessWrite, 1};
      return (Need){kAccessRead, 1};
    case M_CHECKOUT:
    case M_LOCK:
    case M_MERGE:
    case M_MKACTIVITY:
    case M_MKCOL:
    case M_PROPPATCH:
    case M_PUT:
    case M_UNLOCK:
      return (Need){kAccessWrite, 0};
    default:
      /* To delete, to move (both ends), and what is not known here and may do anything. */
      return (Need){kAccessWrite, 1};
  }
}

/* --- What the rules say about it -------------------------------------------------------------- */

static void LogAboutFile(void* request, int denies, const char* text) {
  request_rec* r = request;
  if (denies)
    ap_log_rerror(APLOG_MARK, APLOG_ERR, 0, r,
                  "a rules file cannot be used and denies everything to everybody: %s", text);
  else
    ap_log_rerror(APLOG_MARK, APLOG_WARNING, 0, r, "a rules file has an error: %s", text);
}

/* A request sees one state of the rules from its beginning to its end; answering it may take as
 * many questions as the repository has files. */
static const AccessRules* RulesOf(request_rec* r, const DirConfig* config) {
  const AccessRules* rules = ap_get_module_config(r->request_config, &authz_kelvarion_module);
  APR_OPTIONAL_FN_TYPE(kelvarion_account_sids) * find_sids;
  const apr_array_header_t* sids;
  const char *folder, *file = NULL;
  if (rules) return rules;
  find_sids = APR_RETRIEVE_OPTIONAL_FN(kelvarion_account_sids);
  sids = find_sids ? find_sids(r) : NULL;
  if (config->repository_file) {
    if (dav_svn_get_repos_path(r, config->location, &folder))
      sids = NULL; /* Without the repository's own rules nobody may do anything. */
    else
      file = apr_pstrcat(r->pool, folder, "/conf/", config->repository_file, NULL);
  }
  rules = ReadAccessRules(r->pool, file, config->global_file, sids, LogAboutFile, r);
  ap_set_module_config(r->request_config, &authz_kelvarion_module, (void*)rules);
  return rules;
}

/* `denial_level` is how loud a denial is told in the log. */
static int IsAllowed(request_rec* r, const DirConfig* config, Place place, Need need,
                     int denial_level) {
  const AccessRules* rules = RulesOf(r, config);
  const int allowed = DecideAccess(rules, place.path, need.tree) >= need.level;
  const int log_level = allowed ? APLOG_DEBUG : denial_level;
  if (APLOG_R_IS_LEVEL(r, log_level))
    ap_log_rerror(APLOG_MARK, log_level, 0, r, "access %s: '%s' %s %s:%s, %s",
                  allowed ? "granted" : "denied", r->user ? r->user : "", r->method,
                  place.repository, place.path ? place.path : "",
                  ExplainAccess(r->pool, rules, place.path, need.tree));
  return allowed;
}

/* mod_dav_svn asks so for each repository of a list, where a denial only leaves it out. */
static int IsQuestion(const request_rec* r) { return r->main && r->method_number == M_GET; }

static int Examine(request_rec* r, const DirConfig* config) {
  const int denial_level = config->authoritative && !IsQuestion(r) ? APLOG_ERR : APLOG_INFO;
  const Need need = NeedOf(r);
  Place place;
  int status;
  /* The list of the repositories, which nobody can change here. */
  if (strcmp(WithoutLastSlash(r->pool, r->uri), config->location) == 0)
    return need.level <= kAccessRead ? OK : HTTP_FORBIDDEN;
  status = Locate(r, config, &place);
  if (status != OK) return status;
  return IsAllowed(r, config, place, need, denial_level) ? OK : HTTP_FORBIDDEN;
}

static int Authorize(request_rec* r) {
  const DirConfig* config = ConfigOf(r);
  int status;
  if (!IsGoverned(config)) return DECLINED;
  status = Examine(r, config);
  if (config->authoritative) return status == OK ? DECLINED : status;
  return status == OK ? OK : DECLINED;
}

/* A "Require" that needs no user, such as "Require ip", would otherwise let its requests in before
 * the rules are asked. */
static int ForceAuthentication(request_rec* r) {
  const DirConfig* config = ConfigOf(r);
  return IsGoverned(config) && config->authoritative ? OK : DECLINED;
}

/* How mod_dav_svn asks about one path, or the repository as a whole, while it answers a request. It
 * looks the function up once, and where the server's libraries stay mapped over a restart it keeps
 * one that the new configuration does not have: whoever decides now is asked instead. */
static int AuthorizePath(request_rec* r, const char* path, const char* repository) {
  const authz_svn__subreq_bypass_func_t decides =
      (authz_svn__subreq_bypass_func_t)ap_lookup_provider(AUTHZ_SVN__SUBREQ_BYPASS_PROV_GRP,
                                                          AUTHZ_SVN__SUBREQ_BYPASS_PROV_NAME,
                                                          AUTHZ_SVN__SUBREQ_BYPASS_PROV_VER);
  if (decides != AuthorizePath) return decides ? decides(r, path, repository) : HTTP_FORBIDDEN;
  const Place place = {repository, path};
  const Need need = {kAccessRead, 0};
  const DirConfig* config = ConfigOf(r);
  return IsGoverned(config) && IsAllowed(r, config, place, need, APLOG_INFO) ? OK : HTTP_FORBIDDEN;
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
