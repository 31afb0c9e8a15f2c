/* Listings of repositories and folders as pages that a browser shows by itself.
 *
 * mod_dav_svn sends a listing as XML with an XSLT stylesheet, which browsers are giving up. A
 * client that says it takes text/html gets the same listing as HTML; every other client gets the
 * XML untouched. Subversion clients list folders by other methods and are never affected.
 *
 * The location is sandboxed: scripts do not run on these pages, and browsers send no password for
 * what they embed. So the pages are links, with the style sheet written into each.
 *
 * The XML is read line by line, each entry being one, and not by an XML parser: mod_dav_svn does
 * not escape the name of the repository, so that of "R&D" is not well-formed.
 */

#include "httpd_module.h"
#include "util_filter.h"
#include "util_varbuf.h"

APLOG_USE_MODULE(listing_kelvarion);

static const char kFilterName[] = "KELVARION-LISTING";

/* The text of the style sheet of the server's pages, read with the configuration. */
static const char* style = "";

typedef struct {
  ap_filter_t* next;
  request_rec* r;
  struct ap_varbuf line;     /* received so far of the current line */
  apr_bucket_brigade* out;   /* converted, not yet sent */
  apr_bucket_brigade* files; /* entries kept back, since folders come first */
  apr_pool_t* scratch;       /* cleared with every line */
  int entries;
} Listing;

static void Write(Listing* l, const char* format, ...) {
  const char* text;
  va_list args;
  va_start(args, format);
  text = apr_pvsprintf(l->scratch, format, args);
  va_end(args);
  ap_fputs(l->next, l->out, text); /* a macro that uses its argument twice */
}

static const char* Html(Listing* l, const char* text) { return ap_escape_html(l->scratch, text); }

/* Replaces the character references of XML in place. */
static void Unescape(char* text) {
  static const struct {
    const char* reference;
    char plain;
  } kReferences[] = {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}};
  char* to = text;
  while (*text) {
    char plain = *text;
    size_t length = 1;
    for (size_t i = 0; *text == '&' && i < sizeof kReferences / sizeof *kReferences; ++i) {
      size_t candidate = strlen(kReferences[i].reference);
      if (strncmp(text, kReferences[i].reference, candidate) != 0) continue;
      plain = kReferences[i].plain;
      length = candidate;
      break;
    }
    *to++ = plain;
    text += length;
  }
  *to = '\0';
}

/* The text of an attribute in a line of XML; NULL when it has none. */
static const char* Attribute(Listing* l, const char* line, const char* name) {
  const char* start = strstr(line, apr_pstrcat(l->scratch, " ", name, "=\"", NULL));
  const char* end;
  char* text;
  if (!start) return NULL;
  start = strchr(start, '"') + 1;
  end = strchr(start, '"');
  if (!end) return NULL;
  text = apr_pstrmemdup(l->scratch, start, end - start);
  Unescape(text);
  return text;
}

/* The names in a path: none for "/", two for "/trunk/src". */
static apr_array_header_t* Names(apr_pool_t* pool, const char* path) {
  apr_array_header_t* names = apr_array_make(pool, 8, sizeof(char*));
  char *state, *rest = apr_pstrdup(pool, path);
  for (char* name; (name = apr_strtok(rest, "/", &state)) != NULL; rest = NULL)
    APR_ARRAY_PUSH(names, char*) = name;
  return names;
}

/* Links to the folders that lead here, the list of repositories first. `path` is the path in the
 * repository, NULL for the list of repositories itself; `query` keeps links within a revision. */
static void WriteTrail(Listing* l, const char* path, const char* query) {
  const apr_array_header_t* names = Names(l->scratch, l->r->uri);
  const int location = path ? names->nelts - 1 - Names(l->scratch, path)->nelts : names->nelts;
  const char* href = "/";

  Write(l, "<nav>");
  for (int i = 0; i <= names->nelts; ++i) {
    if (i == location) Write(l, "<a href=\"%s\">Repositories</a>", Html(l, href));
    if (i == names->nelts) break;
    const char* name = APR_ARRAY_IDX(names, i, const char*);
    href = apr_pstrcat(l->scratch, href, ap_os_escape_path(l->scratch, name, 0), "/", NULL);
    if (i >= location) Write(l, " / <a href=\"%s%s\">%s</a>", Html(l, href), query, Html(l, name));
  }
  Write(l, "</nav>\n");
}

static void BeginPage(Listing* l, const char* line) {
  /* Instead of a path, the list of repositories has a text. */
  const char* text = Attribute(l, line, "path");
  const char* path = text && *text == '/' ? text : NULL;
  const char* revision = path ? Attribute(l, line, "rev") : NULL;
  const char* args = l->r->args ? l->r->args : "";
  const int pegged = revision && (strncmp(args, "p=", 2) == 0 || strstr(args, "&p="));
  const apr_array_header_t* names = Names(l->scratch, l->r->uri);
  const char* title =
      path && names->nelts ? APR_ARRAY_IDX(names, names->nelts - 1, const char*) : "Repositories";

  Write(l,
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<title>%s - Kelvarion Server</title>\n"
        "<link rel=\"icon\" href=\"/favicon.ico\">\n"
        "<style>\n%s</style>\n"
        "</head>\n<body>\n<header><a href=\"/!/\">Kelvarion Server</a></header>\n<main>\n",
        Html(l, title), style);
  WriteTrail(l, path, pegged ? apr_psprintf(l->scratch, "?p=%s", Html(l, revision)) : "");
  Write(l, "<h1>%s</h1>\n", Html(l, title));
  if (revision) Write(l, "<p class=\"revision\">Revision %s</p>\n", Html(l, revision));
  Write(l, "<ul class=\"listing\">\n");
}

static void WriteEntry(Listing* l, const char* line, const char* kind) {
  const char* name = Attribute(l, line, "name");
  const char* href = Attribute(l, line, "href");
  const char* row;
  if (!name || !href) return;
  row = apr_psprintf(l->scratch, "<li class=\"%s\"><a href=\"%s\">%s</a></li>\n", kind,
                     Html(l, href), Html(l, name));
  ++l->entries;
  if (strcmp(kind, "file") == 0)
    apr_brigade_puts(l->files, NULL, NULL, row);
  else
    Write(l, "%s", row);
}

static void EndPage(Listing* l) {
  APR_BRIGADE_CONCAT(l->out, l->files);
  Write(l, "</ul>\n");
  if (!l->entries) Write(l, "<p class=\"empty\">Nothing here that you may see.</p>\n");
  Write(l, "</main>\n</body>\n</html>\n");
}

static int StartsWith(const char* text, const char* prefix) {
  return strncmp(text, prefix, strlen(prefix)) == 0;
}

static void ConvertLine(Listing* l, const char* line) {
  line += strspn(line, " ");
  if (StartsWith(line, "<index"))
    BeginPage(l, line);
  else if (StartsWith(line, "<dir "))
    WriteEntry(l, line, "dir");
  else if (StartsWith(line, "<file "))
    WriteEntry(l, line, "file");
  else if (StartsWith(line, "</index>"))
    EndPage(l);
  apr_pool_clear(l->scratch);
}

static void ConvertBytes(Listing* l, const char* data, apr_size_t length) {
  const char* end = data + length;
  const char* newline;
  for (; (newline = memchr(data, '\n', end - data)) != NULL; data = newline + 1) {
    ap_varbuf_strmemcat(&l->line, data, newline - data);
    ConvertLine(l, l->line.buf);
    l->line.strlen = 0;
    l->line.buf[0] = 0;
  }
  ap_varbuf_strmemcat(&l->line, data, end - data);
}

static Listing* StartListing(ap_filter_t* f) {
  Listing* l = apr_pcalloc(f->r->pool, sizeof *l);
  l->next = f->next;
  l->r = f->r;
  ap_varbuf_init(f->r->pool, &l->line, 256);
  l->out = apr_brigade_create(f->r->pool, f->c->bucket_alloc);
  l->files = apr_brigade_create(f->r->pool, f->c->bucket_alloc);
  apr_pool_create(&l->scratch, f->r->pool);
  ap_set_content_type(f->r, "text/html; charset=UTF-8");
  apr_table_unset(f->r->headers_out, "Content-Length");
  apr_table_unset(f->r->headers_out, "Accept-Ranges");
  /* They are those of the XML, and change neither with what the user may see nor with the youngest
   * revision: browsers would be told that an outdated page is current. */
  apr_table_unset(f->r->headers_out, "ETag");
  apr_table_unset(f->r->headers_out, "Last-Modified");
  /* The configuration sets a bare "sandbox" where there is none, and that forbids browsers to save
   * the files that the page links to. */
  apr_table_setn(f->r->err_headers_out, "Content-Security-Policy", "sandbox allow-downloads");
  return l;
}

static int TakesHtml(const request_rec* r) {
  const char* accept = apr_table_get(r->headers_in, "Accept");
  return accept && ap_strcasestr(accept, "text/html");
}

/* A file can be asked for with "/" at the end and be made to look like a listing, but of what
 * mod_dav_svn sends only files have a strong tag. */
static int IsFolder(const request_rec* r) {
  const char* tag = apr_table_get(r->headers_out, "ETag");
  return !tag || !*tag || StartsWith(tag, "W/");
}

/* Whether this begins the answer to a listing, and not to an XML file or an error. A listing of any
 * size begins with one bucket that holds its whole head. */
static int BeginsListing(const request_rec* r, apr_bucket_brigade* in) {
  static const char kHead[] = "<?xml version=\"1.0\"?>\n<?xml-stylesheet type=\"text/xsl\" ";
  const char* data;
  apr_size_t length;
  apr_bucket* first = APR_BRIGADE_FIRST(in);
  if (r->status != HTTP_OK || !r->content_type || strcmp(r->content_type, "text/xml") != 0)
    return 0;
  if (!IsFolder(r)) return 0;
  if (first == APR_BRIGADE_SENTINEL(in) || APR_BUCKET_IS_METADATA(first)) return r->header_only;
  return apr_bucket_read(first, &data, &length, APR_BLOCK_READ) == APR_SUCCESS &&
         length >= sizeof kHead - 1 && memcmp(data, kHead, sizeof kHead - 1) == 0;
}

static apr_status_t ConvertListing(ap_filter_t* f, apr_bucket_brigade* in) {
  Listing* l = f->ctx;
  apr_status_t status;
  if (!l) {
    const int listing = BeginsListing(f->r, in);
    if (listing) apr_table_mergen(f->r->headers_out, "Vary", "Accept");
    if (!listing || !TakesHtml(f->r)) {
      ap_remove_output_filter(f);
      return ap_pass_brigade(f->next, in);
    }
    l = f->ctx = StartListing(f);
  }
  while (!APR_BRIGADE_EMPTY(in)) {
    apr_bucket* bucket = APR_BRIGADE_FIRST(in);
    const char* data;
    apr_size_t length;
    if (APR_BUCKET_IS_METADATA(bucket)) {
      APR_BUCKET_REMOVE(bucket);
      APR_BRIGADE_INSERT_TAIL(l->out, bucket);
      continue;
    }
    status = apr_bucket_read(bucket, &data, &length, APR_BLOCK_READ);
    if (status != APR_SUCCESS) return status;
    ConvertBytes(l, data, length);
    apr_bucket_delete(bucket);
  }
  status = ap_pass_brigade(l->next, l->out);
  apr_brigade_cleanup(l->out);
  return status;
}

/* Folders end with "/"; what lies under "!svn" is Subversion's own protocol. */
static void InsertFilter(request_rec* r) {
  const size_t length = strlen(r->uri);
  if (r->method_number != M_GET || !r->handler || strcmp(r->handler, "dav-handler") != 0) return;
  if (!length || r->uri[length - 1] != '/' || strstr(r->uri, "/!svn/")) return;
  ap_add_output_filter(kFilterName, NULL, r, r->connection);
}

/* Without its style sheet a listing is plain but complete, so that is no reason not to start. */
static int ReadStyle(apr_pool_t* pool, apr_pool_t* log_pool, apr_pool_t* temporary, server_rec* s) {
  const char* path = ap_server_root_relative(temporary, "WebUI/assets/css/kelvarion.css");
  apr_file_t* file;
  apr_finfo_t info;
  apr_status_t status = apr_file_open(&file, path, APR_FOPEN_READ, 0, temporary);
  (void)log_pool;
  style = "";
  if (status == APR_SUCCESS) status = apr_file_info_get(&info, APR_FINFO_SIZE, file);
  if (status == APR_SUCCESS) {
    char* text = apr_pcalloc(pool, info.size + 1);
    status = apr_file_read_full(file, text, info.size, NULL);
    if (status == APR_SUCCESS) style = text;
  }
  if (status != APR_SUCCESS)
    ap_log_error(APLOG_MARK, APLOG_WARNING, status, s, "listings lack their style sheet %s", path);
  return OK;
}

static void RegisterHooks(apr_pool_t* pool) {
  (void)pool;
  ap_register_output_filter(kFilterName, ConvertListing, NULL, AP_FTYPE_RESOURCE);
  ap_hook_post_config(ReadStyle, NULL, NULL, APR_HOOK_MIDDLE);
  ap_hook_insert_filter(InsertFilter, NULL, NULL, APR_HOOK_MIDDLE);
}

module AP_MODULE_DECLARE_DATA listing_kelvarion_module = {
    STANDARD20_MODULE_STUFF, NULL, NULL, NULL, NULL, NULL, RegisterHooks, AP_MODULE_FLAG_NONE};
