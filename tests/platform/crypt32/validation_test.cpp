#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/crypt32/store_api.h"
#include "support/temp_dir.h"
#include "support/tls_identity.h"

namespace test {
namespace {

// An authority that is trusted, with an intermediate, and one that is not.
class Validation : public testing::Test {
 protected:
  Validation() {
    IdentityOptions options;
    options.common_name = "Intermediate";
    options.is_authority = true;
    intermediate_ = MakeIdentity(options, &authority_);
    Trust(authority_.CertificatePem());
  }
  ~Validation() override {
    unsetenv("SSL_CERT_FILE");
    unsetenv("SSL_CERT_DIR");
  }

  void Trust(const std::string& pem) {
    const std::string name = "roots" + std::to_string(++files_) + ".pem";
    setenv("SSL_CERT_FILE", folder_.Write(name, pem).c_str(), 1);
    setenv("SSL_CERT_DIR", folder_.file("none").c_str(), 1);
  }

  // The name, but for its ending, under which a folder of roots has what is of this authority.
  static std::string HashedName(const TlsIdentity& authority) {
    char hash[16];
    snprintf(hash, sizeof(hash), "%08lx",
             X509_NAME_hash_ex(X509_get_subject_name(authority.certificate.get()), nullptr, nullptr,
                               nullptr));
    return std::string("roots/") + hash;
  }

  TlsIdentity Issue(const IdentityOptions& options) const {
    return MakeIdentity(options, &intermediate_);
  }

  // The chain of a certificate for which a server sent these others.
  OwnedChain Chain(const TlsIdentity& end, const std::vector<TlsIdentity>& sent) const {
    Pkcs12Options options;
    options.issuers = sent;
    const OwnedStore store = ImportPfx(MakePkcs12(end, options), u"");
    const OwnedContext context = FirstOf(store);
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof(parameters);
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    EXPECT_TRUE(Certificates().get_chain(HCCE_CURRENT_USER, context.get(), nullptr,
                                         context->hCertStore, &parameters, 0, nullptr, &chain));
    return OwnedChain(chain);
  }

  static DWORD Check(const OwnedChain& chain, std::u16string name) {
    HTTPSPolicyCallbackData details{};
    details.cbSize = sizeof(details);
    details.dwAuthType = AUTHTYPE_SERVER;
    details.pwszServerName = name.data();
    CERT_CHAIN_POLICY_PARA parameters{};
    parameters.cbSize = sizeof(parameters);
    parameters.pvExtraPolicyPara = &details;
    CERT_CHAIN_POLICY_STATUS status{};
    status.cbSize = sizeof(status);
    EXPECT_TRUE(Certificates().verify(CERT_CHAIN_POLICY_SSL, chain.get(), &parameters, &status));
    return status.dwError;
  }

  DWORD Check(const TlsIdentity& end, const std::vector<TlsIdentity>& sent) const {
    return Check(Chain(end, sent), u"localhost");
  }

  const TempDir folder_;
  const TlsIdentity authority_ = MakeAuthority("Trusted");
  const TlsIdentity stranger_ = MakeAuthority("Stranger");
  TlsIdentity intermediate_;
  int files_ = 0;
};

TEST_F(Validation, ChainsLeadToTrustedRoots) {
  const TlsIdentity good = Issue({});
  const TlsIdentity self_signed = MakeIdentity({});
  const TlsIdentity of_stranger = MakeIdentity({}, &stranger_);
  IdentityOptions options;
  options.common_name = "Not an authority";
  const TlsIdentity no_authority = MakeIdentity(options, &authority_);
  const TlsIdentity of_no_authority = MakeIdentity({}, &no_authority);
  // Another key under the intermediate's name.
  options.common_name = "Intermediate";
  options.is_authority = true;
  const TlsIdentity impostor{intermediate_.certificate, MakeIdentity(options).key};
  const TlsIdentity forged = MakeIdentity({}, &impostor);
  const struct {
    const char* what;
    const TlsIdentity& end;
    std::vector<TlsIdentity> sent;
    DWORD error;
  } kCases[] = {
      {"good", good, {intermediate_}, 0},
      {"with the root", good, {intermediate_, authority_}, 0},
      {"with more than needed", good, {stranger_, self_signed, intermediate_}, 0},
      {"without the intermediate", good, {}, CERT_E_UNTRUSTEDCA},
      {"self-signed", self_signed, {}, CERT_E_UNTRUSTEDROOT},
      {"untrusted root", of_stranger, {stranger_}, CERT_E_UNTRUSTEDROOT},
      {"unknown root", of_stranger, {}, CERT_E_UNTRUSTEDCA},
      {"issued by a server", of_no_authority, {no_authority}, TRUST_E_BASIC_CONSTRAINTS},
      {"wrong signature", forged, {intermediate_}, TRUST_E_CERT_SIGNATURE},
  };
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.what);
    EXPECT_EQ(Check(each.end, each.sent), each.error);
  }
}

TEST_F(Validation, CertificatesHaveTheirTimeAndUse) {
  const auto with = [this](auto change) {
    IdentityOptions options;
    change(options);
    return Check(Issue(options), {intermediate_});
  };
  EXPECT_EQ(with([](IdentityOptions& o) {
              o.valid_to_days = 0;
              o.valid_from_days = -2;
            }),
            CERT_E_EXPIRED);
  EXPECT_EQ(with([](IdentityOptions& o) { o.valid_from_days = 1; }), CERT_E_EXPIRED);
  EXPECT_EQ(with([](IdentityOptions& o) { o.extended_usage = "clientAuth"; }), CERT_E_WRONG_USAGE);
  EXPECT_EQ(with([](IdentityOptions& o) { o.extended_usage = "serverAuth"; }), DWORD{0});
  EXPECT_EQ(with([](IdentityOptions& o) { o.alternative_names = "DNS:other.example"; }),
            CERT_E_CN_NO_MATCH);
}

TEST_F(Validation, TheWorstFindingCounts) {
  IdentityOptions options;
  options.valid_from_days = -9;
  options.valid_to_days = -1;
  options.alternative_names = "DNS:other.example";
  EXPECT_EQ(Check(Issue(options), {intermediate_}), CERT_E_EXPIRED);
  const TlsIdentity self_signed = MakeIdentity(options);
  EXPECT_EQ(Check(self_signed, {}), CERT_E_UNTRUSTEDROOT);
  const OwnedChain chain = Chain(self_signed, {});
  EXPECT_EQ(chain->TrustStatus.dwErrorStatus,
            CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_IS_NOT_TIME_VALID);
}

TEST_F(Validation, AuthoritiesMayBeConstrained) {
  IdentityOptions options;
  options.common_name = "Constrained";
  options.is_authority = true;
  options.name_constraints = "permitted;DNS:inside.example";
  const TlsIdentity constrained = MakeIdentity(options, &authority_);
  EXPECT_EQ(Check(MakeIdentity({}, &constrained), {constrained}), CERT_E_INVALID_NAME);
  options.name_constraints = "";
  options.extended_usage = "clientAuth";
  const TlsIdentity for_clients = MakeIdentity(options, &authority_);
  EXPECT_EQ(Check(MakeIdentity({}, &for_clients), {for_clients}), CERT_E_WRONG_USAGE);
}

TEST_F(Validation, RevokedCertificatesAreFound) {
  const TlsIdentity revoked = Issue({});
  const TlsIdentity good = Issue({});
  Trust(authority_.CertificatePem() + MakeRevocationList(intermediate_, {revoked}));
  EXPECT_EQ(Check(revoked, {intermediate_}), CERT_E_REVOKED);
  EXPECT_EQ(Check(good, {intermediate_}), DWORD{0});
  Trust(authority_.CertificatePem() + MakeRevocationList(authority_, {intermediate_}));
  EXPECT_EQ(Check(good, {intermediate_}), CERT_E_REVOKED);
}

TEST_F(Validation, TrustIsWhatTheUserSays) {
  const TlsIdentity self_signed = MakeIdentity({});
  const TlsIdentity good = Issue({});
  Trust(self_signed.CertificatePem());
  EXPECT_EQ(Check(self_signed, {}), DWORD{0});
  EXPECT_EQ(Check(good, {intermediate_}), CERT_E_UNTRUSTEDCA);
  Trust(intermediate_.CertificatePem());  // without its root
  EXPECT_EQ(Check(good, {}), DWORD{0});
  Trust(good.CertificatePem());
  EXPECT_EQ(Check(good, {}), DWORD{0});
  // A changed file counts at once.
  WriteFile(getenv("SSL_CERT_FILE"), stranger_.CertificatePem() + self_signed.CertificatePem());
  EXPECT_EQ(Check(good, {intermediate_}), CERT_E_UNTRUSTEDCA);
  // A folder of roots, each named by the hash of its subject.
  const std::string root = HashedName(authority_) + ".0";
  folder_.Write(root, authority_.CertificatePem());
  setenv("SSL_CERT_DIR", (folder_.file("empty") + ":" + folder_.file("roots")).c_str(), 1);
  EXPECT_EQ(Check(good, {intermediate_}), DWORD{0});
  // It is followed while the program runs, and so are the lists of revoked certificates in it.
  const std::string list = HashedName(intermediate_) + ".r0";
  folder_.Write(list, MakeRevocationList(intermediate_, {}));
  EXPECT_EQ(Check(good, {intermediate_}), DWORD{0});
  WriteFile(folder_.file(list), MakeRevocationList(intermediate_, {good}));
  EXPECT_EQ(Check(good, {intermediate_}), CERT_E_REVOKED);
  WriteFile(folder_.file(list), MakeRevocationList(intermediate_, {}));
  EXPECT_EQ(Check(good, {intermediate_}), DWORD{0});
  std::remove(folder_.file(root).c_str());
  EXPECT_EQ(Check(good, {intermediate_}), CERT_E_UNTRUSTEDCA);
}

TEST_F(Validation, NamesAndAddressesAreCompared) {
  IdentityOptions options;
  options.common_name = "common.example";
  options.alternative_names =
      "DNS:www.example.org,DNS:*.wild.example,DNS:xn--bcher-kva.example,IP:127.0.0.1,IP:::1";
  const OwnedChain chain = Chain(Issue(options), {intermediate_});
  options.alternative_names = "";
  const OwnedChain old_chain = Chain(Issue(options), {intermediate_});
  const struct {
    const OwnedChain& chain;
    const char16_t* name;
    bool matches;
  } kCases[] = {
      {chain, u"www.example.org", true},
      {chain, u"WWW.Example.ORG", true},
      {chain, u"www.example.org.", true},
      {chain, u"example.org", false},
      {chain, u"a.www.example.org", false},
      {chain, u"a.wild.example", true},
      {chain, u"wild.example", false},
      {chain, u".wild.example", false},
      {chain, u"a.b.wild.example", false},
      {chain, u"b\u00FCcher.example", true},
      {chain, u"common.example", false},  // the alternative names replace it
      {chain, u"127.0.0.1", true},
      {chain, u"127.1", true},
      {chain, u"127.0.0.2", false},
      {chain, u"::1", true},
      {chain, u"[::1]", true},
      {chain, u"[0:0::1%lo]", true},
      {chain, u"::2", false},
      {chain, u"", false},
      {old_chain, u"common.example", true},
      {old_chain, u"other.example", false},
  };
  for (const auto& each : kCases) {
    EXPECT_EQ(Check(each.chain, each.name), each.matches ? 0 : CERT_E_CN_NO_MATCH)
        << testing::PrintToString(std::u16string(each.name));
  }
}

TEST_F(Validation, ChainsShowTheirElements) {
  const OwnedChain chain = Chain(Issue({}), {intermediate_});
  ASSERT_EQ(chain->cChain, 1U);
  ASSERT_EQ(chain->rgpChain[0]->cElement, 3U);
  const char* const kNames[] = {"localhost", "Intermediate", "Trusted"};
  for (DWORD i = 0; i < 3; ++i) {
    char name[64] = {};
    Certificates().name_string(chain->rgpChain[0]->rgpElement[i]->pCertContext,
                               CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, name, sizeof(name));
    EXPECT_STREQ(name, kNames[i]);
  }
}

TEST_F(Validation, UnknownPoliciesAreRefused) {
  const OwnedChain chain = Chain(Issue({}), {intermediate_});
  CERT_CHAIN_POLICY_STATUS status{};
  CERT_CHAIN_POLICY_PARA lenient{};
  lenient.dwFlags = 1;
  EXPECT_FALSE(Certificates().verify(CERT_CHAIN_POLICY_SSL, chain.get(), &lenient, &status));
  EXPECT_FALSE(Certificates().verify(reinterpret_cast<LPCSTR>(2), chain.get(), nullptr, &status));
  EXPECT_TRUE(Certificates().verify(CERT_CHAIN_POLICY_BASE, chain.get(), nullptr, &status));
  EXPECT_EQ(status.dwError, 0U);
}

}  // namespace
}  // namespace test
