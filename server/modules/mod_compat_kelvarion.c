/* What the generated configuration says in the words of Apache 2.2, for Apache 2.4.
 *
 * Win32DisableAcceptEx and SSLMutex are accepted and ignored: 2.4 on Linux has nothing they could
 * set.
 *
 * SSLSessionCache "shm:FILE" keeps sessions in anonymous shared memory, whatever the file. 2.4
 * knows this as "shmcb" and takes a parenthesis in the path of the file for a size.
 *
 * SVNOverrideAll on ends Subversion's settings: Apache cannot switch DAV off below a DAV location,
 * and with the repositories at "/" the pages under /! lie below one.
 *
 * Besides, a test of the configuration goes as far as it can: see TestToTheEnd.
 *
 * Load after mod_socache_shmcb.
 */

#include <stdlib.h>
#include <sys/stat.h>

#include "ap_provider.h"
#include "ap_socache.h"
#include "httpd_module.h"

APLOG_USE_MODULE(compat_kelvarion);

typedef struct {
  int override_all; /* kInherited until the directive is met */
} DirConfig;

static const ap_socache_provider_t* shmcb;

static void* CreateDirConfig(apr_pool_t* pool, char* dir) {
  DirConfig* config = apr_palloc(pool, sizeof *config);
  (void)dir;
  config->override_all = kInherited;
  return config;
}

static void* MergeDirConfig(apr_pool_t* pool, void* base, void* overrides) {
  const DirConfig* inner = overrides;
  (void)pool;
  return inner->override_all == kInherited ? base : overrides;
}

static const char* Ignore(cmd_parms* cmd, void* config, const char* args) {
  (void)cmd, (void)config, (void)args;
  return NULL;
}

/* Gives the request settings of `source_file` as they are where nothing was configured. */
static void ResetModule(request_rec* r, const char* source_file) {
  module* target = ap_find_linked_module(source_file);
  if (target && target->create_dir_config)
    ap_set_module_config(r->per_dir_config, target, target->create_dir_config(r->pool, NULL));
}

static int ApplyOverride(request_rec* r) {
  const DirConfig* config = ap_get_module_config(r->per_dir_config, &compat_kelvarion_module);
  if (config->override_all != 1) return DECLINED;
  /* The settings are shared between requests, and a merge with nothing makes a copy. Merging fresh
   * settings in instead would inherit what is to go. */
  r->per_dir_config =
      ap_merge_per_dir_configs(r->pool, r->per_dir_config, ap_create_per_dir_config(r->pool));
  ResetModule(r, "mod_dav.c");
  ResetModule(r, "mod_dav_svn.c");
  return DECLINED;
}

/* Apache complains of a "DAV off" below a DAV location with every request. Where SVNOverrideAll
 * does its work it is not needed. */
static int DropOverridden(apr_pool_t* pool, apr_pool_t* log_pool, apr_pool_t* temporary,
                          server_rec* s) {
  module* dav = ap_find_linked_module("mod_dav.c");
  (void)pool, (void)log_pool, (void)temporary;
  for (; dav && s; s = s->next) {
    const core_server_config* core = ap_get_core_module_config(s->module_config);
    for (int i = 0; i < core->sec_url->nelts; ++i) {
      ap_conf_vector_t* location = APR_ARRAY_IDX(core->sec_url, i, ap_conf_vector_t*);
      const DirConfig* config = ap_get_module_config(location, &compat_kelvarion_module);
      if (config && config->override_all == 1) ap_set_module_config(location, dav, NULL);
    }
  }
  return OK;
}

static const char* CreateCache(ap_socache_instance_t** instance, const char* arg,
                               apr_pool_t* temporary, apr_pool_t* pool) {
  (void)arg;
  return shmcb->create(instance, NULL, temporary, pool);
}

static void RegisterSessionCache(apr_pool_t* pool) {
  ap_socache_provider_t* shm;
  shmcb = ap_lookup_provider(AP_SOCACHE_PROVIDER_GROUP, "shmcb", AP_SOCACHE_PROVIDER_VERSION);
  if (!shmcb) {
    ap_log_perror(APLOG_MARK, APLOG_ERR, 0, pool,
                  "mod_compat_kelvarion must be loaded after mod_socache_shmcb");
    return;
  }
  shm = apr_pmemdup(pool, shmcb, sizeof *shm);
  shm->create = CreateCache;
  ap_register_provider(pool, AP_SOCACHE_PROVIDER_GROUP, "shm", AP_SOCACHE_PROVIDER_VERSION, shm);
}

/* Before the logs are opened: they carry user names and paths, and Apache would create them
 * readable by everyone. */
static int RestrictNewFiles(apr_pool_t* pool, apr_pool_t* log_pool, apr_pool_t* temporary) {
  (void)pool, (void)log_pool, (void)temporary;
  umask(umask(077) | 027);
  return OK;
}

/* A test of the configuration (apache2 -t) ends before modules look at the files that they need,
 * and a running server dies of a certificate that it cannot read when it is told to restart. Here
 * the test goes on to where a start would begin to listen. */
static void TestToTheEnd(apr_pool_t* pool, server_rec* s) {
  apr_pool_t* temporary;
  apr_pool_create(&temporary, pool);
  if (ap_run_post_config(pool, temporary, temporary, s) != OK) exit(1);
}

static void RegisterHooks(apr_pool_t* pool) {
  RegisterSessionCache(pool);
  ap_hook_test_config(TestToTheEnd, NULL, NULL, APR_HOOK_LAST);
  ap_hook_pre_config(RestrictNewFiles, NULL, NULL, APR_HOOK_FIRST);
  ap_hook_post_config(DropOverridden, NULL, NULL, APR_HOOK_MIDDLE);
  /* Both points: mod_dav_svn reads its settings while names are translated, everything else after
   * the settings have been collected anew. */
  ap_hook_translate_name(ApplyOverride, NULL, NULL, APR_HOOK_REALLY_FIRST);
  ap_hook_post_perdir_config(ApplyOverride, NULL, NULL, APR_HOOK_REALLY_FIRST);
}

static const command_rec kCommands[] = {
    AP_INIT_RAW_ARGS("Win32DisableAcceptEx", Ignore, NULL, RSRC_CONF, "has no effect on Linux"),
    AP_INIT_RAW_ARGS("SSLMutex", Ignore, NULL, RSRC_CONF, "has no effect since Apache 2.4"),
    AP_INIT_FLAG("SVNOverrideAll", ap_set_flag_slot, (void*)APR_OFFSETOF(DirConfig, override_all),
                 ACCESS_CONF, "whether Subversion's settings of enclosing locations end here"),
    {NULL}};

module AP_MODULE_DECLARE_DATA compat_kelvarion_module = {
    STANDARD20_MODULE_STUFF, CreateDirConfig,    MergeDirConfig, NULL, NULL, kCommands,
    RegisterHooks,           AP_MODULE_FLAG_NONE};
