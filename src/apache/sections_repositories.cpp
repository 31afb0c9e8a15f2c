#include "apache/sections.h"
#include "util/server_files.h"

namespace kelvarion::apache {

void WriteAuthentication(ConfigText& out, const ServerValues& values) {
  out.Line("<Location />");
  out.Line("  AuthName \"Kelvarion Server\"");
  if (values.windows_auth) {
    out.Line("  AuthType Kelvarion");
    out.Line("  AuthnKelvarionBasic ", OnOff(values.windows_basic));
    out.Line("  AuthnKelvarionIntegrated ", OnOff(values.windows_integrated));
    out.Line("  AuthnKelvarionUPN ", values.upn_format ? "On" : "Off");
  } else {
    out.Line("  AuthType Basic");
    out.Line("  AuthBasicProvider file");
    out.Line("  AuthUserFile ", Quoted(values.InRoot(server_files::kUsers)));
  }
  out.Line();
  out.Line("  Require valid-user");
  out.Line("</Location>");
  out.Line();
}

void WriteRepositories(ConfigText& out, const ServerValues& values) {
  out.Line("SVNInMemoryCacheSize ", std::to_string(values.cache_kilobytes));
  out.Line();
  out.Line();
  out.Line("<Location ", Quoted(values.location), ">");
  out.Line("  DAV svn");
  out.Line();
  out.Line("  SVNListParentPath on");
  out.Line("  SVNParentPath ", Quoted(values.root));
  out.Line("  SVNIndexXSLT ",
           Quoted(values.redirect_from_legacy ? "/!/assets/xsl/svnindex-ng.xsl?v=1"
                                              : "/!/assets/xsl/svnindex.xsl?v=1"));
  out.Block(R"(
  SVNPathAuthz short_circuit

  SVNCacheTextDeltas off
  SVNCacheFullTexts off
  SVNCacheRevProps off

  SVNAllowBulkUpdates prefer

  AuthName "Kelvarion Server"
)");
  if (values.windows_auth) {
    out.Line("  AuthzKelvarionReposRelativeAccessFile ", Quoted(server_files::kWindowsRules));
    out.Line("  AuthzKelvarionGlobalAccessFile ",
             Quoted(values.InRoot(server_files::kGlobalRules)));
  } else {
    out.Line("  AuthzSVNReposRelativeAccessFile ", Quoted(server_files::kSubversionRules));
    out.Line("  AuthzSVNGroupsFile ", Quoted(values.InRoot(server_files::kGroups)));
  }
  out.Block(R"(
  ExpiresActive off
  Header always setifempty Content-Security-Policy sandbox
  Header always setifempty X-Content-Security-Policy sandbox
</Location>

)");
}

// Old Subversion clients do not survive a second authentication on one connection.
void WriteClientQuirks(ConfigText& out, const ServerValues& values) {
  if (!values.windows_auth) return;
  out.Block(R"conf(BrowserMatch "(\s|^)neon/\d+.\d+.\d+(\s|$)" AuthnKelvarionIgnoreReauth
BrowserMatch "(\s|^)neon/\d+.\d+.\d+(\s|$)" AuthnKelvarionDisableNegotiate

)conf");
}

void WriteWebInterface(ConfigText& out, const ServerValues& values) {
  out.Line("Alias /! WebUI");
  out.Line("<Location /!>");
  out.Line(values.windows_auth ? "  AuthzKelvarionAuthoritative off"
                               : "  AuthzSVNAuthoritative off");
  out.Block(R"(  SVNOverrideAll on
  DAV off
  ExpiresActive on
  Header always unset Content-Security-Policy
  Header always unset X-Content-Security-Policy
</Location>

<Location /!/assets>
  ExpiresDefault A31104000
</Location>

<Location /!/assets/img/favicon.ico>
  ExpiresDefault A604800
</Location>

)");
}

}  // namespace kelvarion::apache
