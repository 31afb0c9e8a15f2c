/* The two logs of the server, in the folder logs/ of the installation.
 *
 * LogKelvarionAccess on|off       access.log: one line per request, in the combined format
 * LogKelvarionOperational on|off  operational.log: one line per Subversion operation:
 *     TIME ADDRESS "USER" "REPOSITORY" "ACTION" STATUS
 *   for example 2026-01-31T12:00:00Z 127.0.0.1 "alice" "demo" "commit r5" 200
 *
 * Times are UTC; "-" stands for what is not known. Both directives are off unless given, and hold
 * for the whole server. Every line is one append, so that the lines of several workers never mix.
 */

#include "apr_file_io.h"
#include "apr_time.h"
#include "httpd_module.h"

APLOG_USE_MODULE(log_access_kelvarion);

typedef struct {
  int access;
  int operational;
} ServerConfig;

/* Open from the reading of the configuration until the next; NULL while the log is off. */
static apr_file_t* access_log;
static apr_file_t* operational_log;

static const apr_fileperms_t kLogMode = APR_FPROT_UREAD | APR_FPROT_UWRITE | APR_FPROT_GREAD;

static void* CreateServerConfig(apr_pool_t* pool, server_rec* s) {
  (void)s;
  return apr_pcalloc(pool, sizeof(ServerConfig));
}

/* As a field between quotes: nothing in it can end the field or the line. */
static const char* Field(apr_pool_t* pool, const char* text) {
  return text && *text ? ap_escape_logitem(pool, text) : "-";
}

/* As a field between blanks. Before authentication the name is whatever the client made up. */
static const char* BareField(apr_pool_t* pool, const char* text) {
  const char* escaped = Field(pool, text);
  return strchr(escaped, ' ') ? ap_escape_uri(pool, escaped) : escaped;
}

static const char* Header(request_rec* r, const char* name) {
  return Field(r->pool, apr_table_get(r->headers_in, name));
}

static void Append(request_rec* r, apr_file_t* log, const char* line) {
  apr_size_t length = strlen(line);
  apr_status_t status = apr_file_write(log, line, &length);
  if (status != APR_SUCCESS)
    ap_log_rerror(APLOG_MARK, APLOG_ERR, status, r, "cannot write to a log of the server");
}

static void LogAccess(request_rec* r, const request_rec* last) {
  char when[APR_RFC822_DATE_LEN];
  apr_size_t length;
  apr_time_exp_t time;
  const char* bytes =
      last->bytes_sent > 0 ? apr_psprintf(r->pool, "%" APR_OFF_T_FMT, last->bytes_sent) : "-";

  apr_time_exp_gmt(&time, r->request_time);
  apr_strftime(when, &length, sizeof when, "%d/%b/%Y:%H:%M:%S", &time);
  Append(r, access_log,
         apr_psprintf(r->pool, "%s - %s [%s +0000] \"%s\" %d %s \"%s\" \"%s\"\n", r->useragent_ip,
                      BareField(r->pool, last->user), when, Field(r->pool, r->the_request),
                      last->status, bytes, Header(r, "Referer"), Header(r, "User-Agent")));
}

static void LogOperation(request_rec* r, const request_rec* last) {
  char when[sizeof "2026-01-31T12:00:00Z"];
  apr_size_t length;
  apr_time_exp_t time;
  const char* action = apr_table_get(last->subprocess_env, "SVN-ACTION");
  const char* repository = apr_table_get(last->subprocess_env, "SVN-REPOS-NAME");

  if (!action) return;
  apr_time_exp_gmt(&time, r->request_time);
  apr_strftime(when, &length, sizeof when, "%Y-%m-%dT%H:%M:%SZ", &time);
  Append(r, operational_log,
         apr_psprintf(r->pool, "%s %s \"%s\" \"%s\" \"%s\" %d\n", when, r->useragent_ip,
                      Field(r->pool, last->user), Field(r->pool, repository),
                      Field(r->pool, action), last->status));
}

static int LogRequest(request_rec* r) {
  const request_rec* last = r;
  while (last->next) last = last->next;
  if (access_log) LogAccess(r, last);
  if (operational_log) LogOperation(r, last);
  return OK;
}

static int OpenLog(apr_pool_t* pool, server_rec* s, const char* name, apr_file_t** out) {
  const char* path = ap_server_root_relative(pool, name);
  apr_status_t status = apr_file_open(
      out, path, APR_FOPEN_WRITE | APR_FOPEN_APPEND | APR_FOPEN_CREATE | APR_FOPEN_LARGEFILE,
      kLogMode, pool);
  if (status == APR_SUCCESS) return OK;
  ap_log_error(APLOG_MARK, APLOG_STARTUP | APLOG_ERR, status, s, "cannot open the log %s", path);
  return HTTP_INTERNAL_SERVER_ERROR;
}

static int OpenLogs(apr_pool_t* pool, apr_pool_t* log_pool, apr_pool_t* temporary, server_rec* s) {
  const ServerConfig* config = ap_get_module_config(s->module_config, &log_access_kelvarion_module);
  (void)log_pool, (void)temporary;
  access_log = operational_log = NULL;
  if (config->access && OpenLog(pool, s, "logs/access.log", &access_log) != OK)
    return HTTP_INTERNAL_SERVER_ERROR;
  if (config->operational && OpenLog(pool, s, "logs/operational.log", &operational_log) != OK)
    return HTTP_INTERNAL_SERVER_ERROR;
  return OK;
}

static const char* SetServerFlag(cmd_parms* cmd, void* dir_config, int on) {
  const char* error = ap_check_cmd_context(cmd, GLOBAL_ONLY);
  (void)dir_config;
  if (error) return error;
  return ap_set_flag_slot(
      cmd, ap_get_module_config(cmd->server->module_config, &log_access_kelvarion_module), on);
}

static void RegisterHooks(apr_pool_t* pool) {
  (void)pool;
  ap_hook_open_logs(OpenLogs, NULL, NULL, APR_HOOK_MIDDLE);
  ap_hook_log_transaction(LogRequest, NULL, NULL, APR_HOOK_MIDDLE);
}

static const command_rec kCommands[] = {
    AP_INIT_FLAG("LogKelvarionAccess", SetServerFlag, (void*)APR_OFFSETOF(ServerConfig, access),
                 RSRC_CONF, "whether requests are logged"),
    AP_INIT_FLAG("LogKelvarionOperational", SetServerFlag,
                 (void*)APR_OFFSETOF(ServerConfig, operational), RSRC_CONF,
                 "whether Subversion operations are logged"),
    {NULL}};

module AP_MODULE_DECLARE_DATA log_access_kelvarion_module = {
    STANDARD20_MODULE_STUFF, NULL, NULL, CreateServerConfig, NULL, kCommands, RegisterHooks,
    AP_MODULE_FLAG_NONE};
