#include "ormu/master_session.h"

#include <svn_config.h>
#include <svn_dirent_uri.h>
#include <svn_hash.h>
#include <svn_path.h>
#include <svn_props.h>
#include <svn_ra.h>
#include <svn_time.h>

#include <mutex>

#include "ormu/master_credentials.h"
#include "ormu/master_errors.h"
#include "ormu/property_list.h"
#include "platform/ormu/ormu.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

constexpr const char* kSilenceSeconds = "60";
// The library keeps half a kilobyte for each question asked over HTTP.
constexpr int kQuestionsOfConnection = 5000;

void InitializeAccess() {
  static std::once_flag once;
  std::call_once(once, [] {
    static const svn::Pool& pool = *new svn::Pool(svn::Pool::Root());
    svn::Check(svn_ra_initialize(pool));
  });
}

// Settings that would otherwise be the account's own.
apr_hash_t* MakeConfiguration(const MasterAccess& access, apr_pool_t* pool) {
  svn_config_t* servers = nullptr;
  svn_config_t* general = nullptr;
  svn::Check(svn_config_create2(&servers, FALSE, FALSE, pool));
  svn::Check(svn_config_create2(&general, FALSE, FALSE, pool));
  const auto set = [&](const char* option, const char* value) {
    svn_config_set(servers, SVN_CONFIG_SECTION_GLOBAL, option, value);
  };
  set(SVN_CONFIG_OPTION_HTTP_TIMEOUT, kSilenceSeconds);
  set(SVN_CONFIG_OPTION_HTTP_AUTH_TYPES, "basic;digest");
  set(SVN_CONFIG_OPTION_SSL_TRUST_DEFAULT_CA, access.certificate_sha256.empty() ? "yes" : "no");
  apr_hash_t* const configuration = apr_hash_make(pool);
  svn_hash_sets(configuration, SVN_CONFIG_CATEGORY_SERVERS, servers);
  svn_hash_sets(configuration, SVN_CONFIG_CATEGORY_CONFIG, general);
  return configuration;
}

svn_error_t* GiveClientName(void*, const char** name, apr_pool_t*) {
  *name = "kelvarion-replication";
  return nullptr;
}

bool IsFolderName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

// Throws what the libraries say of an address that is none.
std::string Canonical(const std::string& url, apr_pool_t* pool) {
  const char* canonical = nullptr;
  if (!svn_path_is_url(url.c_str()))
    svn::ThrowError(SVN_ERR_BAD_URL,
                    Format(u"'%s' is no address of a server", platform::Utf16ForDisplay(url)));
  svn::Check(svn_uri_canonicalize_safe(&canonical, nullptr, url.c_str(), pool, pool));
  return canonical;
}

std::string AddressOf(const Master& master, apr_pool_t* pool) {
  if (!IsFolderName(master.repository))
    ThrowMasterError(master, svn_error_createf(SVN_ERR_RA_LOCAL_REPOS_NOT_FOUND, nullptr,
                                               "'%s' is not the name of a repository",
                                               master.repository.c_str()));
  return Canonical(master.access.url, pool) + "/" +
         svn_path_uri_encode(master.repository.c_str(), pool);
}

}  // namespace

class MasterSession::Connection {
 public:
  Connection(Master master, svn::Cancellation cancellation, const svn::Pool& parent)
      : pool_(parent),
        ra_pool_(pool_),
        master_(std::move(master)),
        cancellation_(std::move(cancellation)) {}

  // Also instead of an older connection.
  void Open() {
    InitializeAccess();
    questions_ = 0;
    ra_pool_.Clear();
    svn_ra_callbacks2_t* callbacks = nullptr;
    svn::Check(svn_ra_create_callbacks(&callbacks, ra_pool_));
    callbacks->auth_baton = MakeAuthBaton(master_.access, ra_pool_);
    callbacks->cancel_func = svn::CancelFunction;
    callbacks->get_client_string = GiveClientName;
    const std::string address = AddressOf(master_, ra_pool_);
    Check(svn_ra_open5(&ra_, nullptr, nullptr, address.c_str(), nullptr, callbacks, &cancellation_,
                       MakeConfiguration(master_.access, ra_pool_), ra_pool_));
    RequireRoot(address);
    const char* uuid = nullptr;
    Check(svn_ra_get_uuid2(ra_, &uuid, ra_pool_));
    uuid_ = uuid;
  }

  void CountQuestion() {
    if (++questions_ > kQuestionsOfConnection) Open();
  }

  void Check(svn_error_t* error) const {
    if (error) ThrowMasterError(master_, error);
  }

  // A folder of a repository, were one replicated, would lack what lies outside it.
  void RequireRoot(const std::string& address) const {
    const char* inside = nullptr;
    Check(svn_ra_get_path_relative_to_root(ra_, &inside, address.c_str(), ra_pool_));
    if (!*inside) return;
    Check(svn_error_createf(SVN_ERR_RA_LOCAL_REPOS_NOT_FOUND, nullptr,
                            "'%s' is a folder inside a repository", address.c_str()));
  }

  svn::Pool pool_;
  svn::Pool ra_pool_;  // Of the connection itself.
  const Master master_;
  svn::Cancellation cancellation_;
  svn_ra_session_t* ra_ = nullptr;
  int questions_ = 0;
  std::string uuid_;
  std::string agreed_folder_;
  std::int64_t agreed_revision_ = -1;
};

MasterSession::MasterSession(Master master, svn::Cancellation cancellation, const svn::Pool& parent)
    : connection_(
          std::make_unique<Connection>(std::move(master), std::move(cancellation), parent)) {
  connection_->Open();
}

MasterSession::~MasterSession() = default;

const Master& MasterSession::master() const { return connection_->master_; }
const std::string& MasterSession::uuid() const { return connection_->uuid_; }
const svn::Cancellation& MasterSession::cancellation() const { return connection_->cancellation_; }
svn_ra_session_t* MasterSession::ra() const { return connection_->ra_; }
const svn::Pool& MasterSession::pool() const { return connection_->pool_; }
void MasterSession::Check(svn_error_t* error) const { connection_->Check(error); }

bool MasterSession::HasAgreed(const std::string& folder, std::int64_t revision) const {
  return connection_->agreed_folder_ == folder && connection_->agreed_revision_ == revision;
}

void MasterSession::SetAgreed(const std::string& folder, std::int64_t revision) {
  connection_->agreed_folder_ = folder;
  connection_->agreed_revision_ = revision;
}

std::int64_t MasterSession::Youngest() {
  connection_->CountQuestion();
  const svn::Pool scratch(pool());
  svn_revnum_t youngest = SVN_INVALID_REVNUM;
  Check(svn_ra_get_latest_revnum(ra(), &youngest, scratch));
  return youngest;
}

RevisionProperties MasterSession::PropertiesOf(std::int64_t revision) {
  connection_->CountQuestion();
  const svn::Pool scratch(pool());
  apr_hash_t* properties = nullptr;
  Check(svn_ra_rev_proplist(ra(), static_cast<svn_revnum_t>(revision), &properties, scratch));
  return ReplicatedProperties(properties);
}

std::optional<std::int64_t> MasterSession::DateOf(std::int64_t revision) {
  const RevisionProperties properties = PropertiesOf(revision);
  const auto date = properties.find(SVN_PROP_REVISION_DATE);
  if (date == properties.end()) return std::nullopt;
  const svn::Pool scratch(pool());
  apr_time_t when = 0;
  try {
    svn::Check(svn_time_from_cstring(&when, date->second.c_str(), scratch));
  } catch (const SvnException&) {  // Whatever stands there, it is no date.
    return std::nullopt;
  }
  return when;
}

}  // namespace kelvarion::ormu
