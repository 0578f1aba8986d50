#include <gtest/gtest.h>
#include <openssl/pkcs12.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/crypt32/store_api.h"
#include "support/temp_dir.h"
#include "support/tls_identity.h"

namespace test {
namespace {

constexpr DWORD kExisting = CERT_STORE_READONLY_FLAG | CERT_STORE_OPEN_EXISTING_FLAG;

TlsIdentity Named(const std::string& common_name, const TlsIdentity* issuer = nullptr) {
  IdentityOptions options;
  options.common_name = common_name;
  return MakeIdentity(options, issuer);
}

std::string DisplayName(PCCERT_CONTEXT context, DWORD type = CERT_NAME_SIMPLE_DISPLAY_TYPE,
                        DWORD flags = 0) {
  char name[128] = {};
  Certificates().name_string(context, type, flags, nullptr, name, sizeof(name));
  return name;
}

std::u16string FriendlyName(PCCERT_CONTEXT context) {
  char16_t name[256] = {};
  DWORD size = sizeof(name);
  return Certificates().property(context, CERT_FRIENDLY_NAME_PROP_ID, name, &size) ? name : u"";
}

std::vector<std::string> NamesIn(HCERTSTORE store, DWORD type) {
  std::vector<std::string> names;
  PCCERT_CONTEXT context = nullptr;
  while ((context = Certificates().next(store, context)) != nullptr) {
    names.push_back(DisplayName(context, type));
  }
  return names;
}

class SystemStores : public testing::Test {
 protected:
  SystemStores() {
    setenv("QVHTTP_USER_CERTIFICATES", folder_.file("user").c_str(), 1);
    setenv("QVHTTP_MACHINE_CERTIFICATES", folder_.file("machine").c_str(), 1);
  }
  ~SystemStores() override {
    unsetenv("QVHTTP_USER_CERTIFICATES");
    unsetenv("QVHTTP_MACHINE_CERTIFICATES");
  }

  static OwnedStore Open(DWORD location, const char16_t* name, DWORD flags = kExisting) {
    return OwnedStore(
        Certificates().open_store(CERT_STORE_PROV_SYSTEM_W, 0, 0, location | flags, name));
  }

  const TempDir folder_;
};

TEST_F(SystemStores, AreFoldersOfFiles) {
  const TlsIdentity key_beside = Named("beside");
  Pkcs12Options named;
  named.friendly_name = "Friendly P12";
  folder_.Write("user/my/a.pem", Named("a").Pem());
  folder_.Write("user/my/b.crt", key_beside.CertificatePem());
  folder_.Write("user/my/b.key", key_beside.KeyPem());
  folder_.Write("user/my/c.p12", MakePkcs12(Named("p12"), named));
  folder_.Write("user/my/d.PFX", MakePkcs12(Named("pfx")));
  const TlsIdentity tagged = Named("tagged");
  folder_.Write("user/my/e.pem", "Bag Attributes\n    friendlyName: The Tagged One  \r\n" +
                                     tagged.CertificatePem() +
                                     "Bag Attributes\n    friendlyName: key\n" + tagged.KeyPem());
  folder_.Write("user/my/f.pem", "rubbish\n-----BEGIN CERTIFICATE-----\nAAAA\n");
  folder_.Write("user/my/g.txt", Named("other file").Pem());
  folder_.Write("user/my/h.cer", Named("no key").CertificatePem());
  Pkcs12Options locked;
  locked.password = "secret";
  folder_.Write("user/my/i.p12", MakePkcs12(Named("locked"), locked));

  const OwnedStore store = Open(CERT_SYSTEM_STORE_CURRENT_USER, u"My");
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(NamesIn(store.get(), CERT_NAME_FRIENDLY_DISPLAY_TYPE),
            (std::vector<std::string>{"a", "b", "Friendly P12", "d", "The Tagged One", "no key"}));
  // Those with a key can be used to prove an identity.
  CERT_CHAIN_FIND_BY_ISSUER_PARA any{};
  any.cbSize = sizeof(any);
  int usable = 0;
  PCCERT_CHAIN_CONTEXT chain = nullptr;
  while ((chain = Certificates().find_chain(store.get(), X509_ASN_ENCODING, 0,
                                            CERT_CHAIN_FIND_BY_ISSUER, &any, chain)) != nullptr) {
    ++usable;
  }
  EXPECT_EQ(usable, 5);
}

TEST_F(SystemStores, AreFoundByOwnerAndName) {
  folder_.Write("user/my/a.pem", Named("of user").Pem());
  folder_.Write("machine/my/a.pem", Named("of machine").Pem());
  folder_.Write("machine/work/a.pem", Named("at work").Pem());
  const struct {
    DWORD location;
    const char16_t* name;
    const char* found;  // null: there is no such store
  } kCases[] = {
      {CERT_SYSTEM_STORE_CURRENT_USER, u"MY", "of user"},
      {CERT_SYSTEM_STORE_LOCAL_MACHINE, u"my", "of machine"},
      {CERT_SYSTEM_STORE_LOCAL_MACHINE, u"Work", "at work"},
      {CERT_SYSTEM_STORE_CURRENT_USER, u"Work", nullptr},
      {CERT_SYSTEM_STORE_CURRENT_USER, u"../machine/my", nullptr},
      {CERT_SYSTEM_STORE_CURRENT_USER, u"..", nullptr},
      {CERT_SYSTEM_STORE_CURRENT_USER, u"", nullptr},
      {0, u"MY", nullptr},
  };
  for (const auto& each : kCases) {
    const OwnedStore store = Open(each.location, each.name);
    ASSERT_EQ(store != nullptr, each.found != nullptr) << each.location;
    if (store == nullptr) continue;
    EXPECT_EQ(DisplayName(FirstOf(store).get()), each.found);
  }
  const OwnedStore made = Open(CERT_SYSTEM_STORE_CURRENT_USER, u"Work", 0);
  EXPECT_NE(made, nullptr);
  EXPECT_EQ(FirstOf(made), nullptr);
  EXPECT_EQ(GetLastError(), CRYPT_E_NOT_FOUND);
  const OwnedStore users(Certificates().open_system_store(0, "MY"));
  EXPECT_EQ(DisplayName(FirstOf(users).get()), "of user");
}

TEST(Pkcs12, OpensWithItsPassword) {
  const TlsIdentity identity = Named("me");
  const auto file = [&](auto change) {
    Pkcs12Options options;
    change(options);
    return MakePkcs12(identity, options);
  };
  const std::string secret =
      file([](Pkcs12Options& options) { options.password = "p\xC3\xA4sswort"; });
  const std::string empty = file([](Pkcs12Options&) {});
  const std::string none = file([](Pkcs12Options& options) { options.without_password = true; });
  const struct {
    const std::string& file;
    const char16_t* password;
    DWORD error;
  } kCases[] = {
      {secret, u"p\u00E4sswort", 0},
      {secret, u"wrong", ERROR_INVALID_PASSWORD},
      {secret, nullptr, ERROR_INVALID_PASSWORD},
      {empty, nullptr, 0},
      {empty, u"", 0},
      {none, nullptr, 0},
      {none, u"", 0},
      {std::string("rubbish"), u"", CRYPT_E_BAD_ENCODE},
  };
  for (const auto& each : kCases) {
    SetLastError(0);
    EXPECT_EQ(ImportPfx(each.file, each.password) != nullptr, each.error == 0);
    EXPECT_EQ(GetLastError(), each.error);
  }
  for (const std::string& bytes : {secret, none, std::string("rubbish"), secret.substr(0, 99)}) {
    std::string copy = bytes;
    CRYPT_DATA_BLOB blob{static_cast<DWORD>(copy.size()), reinterpret_cast<BYTE*>(copy.data())};
    EXPECT_EQ(Certificates().is_pfx(&blob) != FALSE, bytes == secret || bytes == none);
  }
}

TEST(Pkcs12, OfOldProgramsOpensToo) {
  const TempDir folder;
  const std::string pem = folder.Write("me.pem", Named("me").Pem());
  const std::string command = "openssl pkcs12 -export -legacy -in " + pem +
                              " -passout pass:old -name Old -out " + folder.file("me.p12");
  ASSERT_EQ(std::system(command.c_str()), 0);
  const OwnedStore store = ImportPfx(folder.Read("me.p12"), u"old");
  ASSERT_NE(store, nullptr);
  const OwnedContext context = FirstOf(store);
  EXPECT_EQ(FriendlyName(context.get()), u"Old");
  CERT_CHAIN_FIND_BY_ISSUER_PARA any{};
  const OwnedChain chain(Certificates().find_chain(store.get(), X509_ASN_ENCODING, 0,
                                                   CERT_CHAIN_FIND_BY_ISSUER, &any, nullptr));
  EXPECT_NE(chain, nullptr) << "the key is there";
  EXPECT_EQ(ImportPfx(folder.Read("me.p12"), u"new"), nullptr);
}

TEST(Pkcs12, MayHoldSeveralIdentities) {
  const TlsIdentity identities[] = {Named("one"), Named("two")};
  STACK_OF(PKCS12_SAFEBAG)* certificates = nullptr;
  STACK_OF(PKCS12_SAFEBAG)* keys = nullptr;
  STACK_OF(PKCS7)* safes = nullptr;
  for (const TlsIdentity& each : identities) {
    PKCS12_add_cert(&certificates, each.certificate.get());
  }
  for (const int i : {1, 0}) {  // encrypted, and in another order
    PKCS12_add_key(&keys, identities[i].key.get(), 0, 2048, NID_aes_256_cbc, "pw");
  }
  PKCS12_add_safe(&safes, certificates, NID_aes_256_cbc, 2048, "pw");
  PKCS12_add_safe(&safes, keys, -1, 0, nullptr);
  const std::unique_ptr<PKCS12, void (*)(PKCS12*)> file(PKCS12_add_safes(safes, 0), PKCS12_free);
  ASSERT_EQ(PKCS12_set_mac(file.get(), "pw", -1, nullptr, 0, 2048, EVP_sha256()), 1);
  unsigned char* bytes = nullptr;
  const int size = i2d_PKCS12(file.get(), &bytes);
  const std::string content(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(size));
  OPENSSL_free(bytes);
  sk_PKCS12_SAFEBAG_pop_free(certificates, PKCS12_SAFEBAG_free);
  sk_PKCS12_SAFEBAG_pop_free(keys, PKCS12_SAFEBAG_free);
  sk_PKCS7_pop_free(safes, PKCS7_free);

  const OwnedStore store = ImportPfx(content, u"pw");
  ASSERT_NE(store, nullptr);
  std::vector<std::string> usable;
  CERT_CHAIN_FIND_BY_ISSUER_PARA any{};
  any.cbSize = sizeof(any);
  PCCERT_CHAIN_CONTEXT chain = nullptr;
  while ((chain = Certificates().find_chain(store.get(), X509_ASN_ENCODING, 0,
                                            CERT_CHAIN_FIND_BY_ISSUER, &any, chain)) != nullptr) {
    usable.push_back(DisplayName(chain->rgpChain[0]->rgpElement[0]->pCertContext));
  }
  EXPECT_EQ(usable, (std::vector<std::string>{"one", "two"}));
}

TEST(Certificates, KeepWhatBelongsToThem) {
  OwnedContext context;
  {
    Pkcs12Options options;
    options.friendly_name =
        "Gr\xC3\xBC\xC3\x9F"
        "e";
    const OwnedStore store = ImportPfx(MakePkcs12(Named("me"), options), u"");
    context = FirstOf(store);
  }
  ASSERT_NE(context, nullptr);  // outlives its store
  EXPECT_EQ(FriendlyName(context.get()), u"Gr\u00FC\u00DFe");
  DWORD size = 0;
  EXPECT_TRUE(Certificates().property(context.get(), CERT_FRIENDLY_NAME_PROP_ID, nullptr, &size));
  EXPECT_EQ(size, 12U);
  char16_t small[2];
  size = sizeof(small);
  EXPECT_FALSE(Certificates().property(context.get(), CERT_FRIENDLY_NAME_PROP_ID, small, &size));
  EXPECT_EQ(GetLastError(), ERROR_MORE_DATA);
  EXPECT_FALSE(Certificates().property(context.get(), 3, nullptr, &size));
  EXPECT_EQ(GetLastError(), CRYPT_E_NOT_FOUND);

  SYSTEMTIME from{}, to{}, now{};
  GetSystemTime(&now);
  EXPECT_TRUE(FileTimeToSystemTime(&context->pCertInfo->NotBefore, &from));
  EXPECT_TRUE(FileTimeToSystemTime(&context->pCertInfo->NotAfter, &to));
  EXPECT_NEAR(from.wYear, now.wYear, 1);
  EXPECT_NE(from.wMonth, 0);
  EXPECT_NE(from.wDay, to.wDay);
  const FILETIME kAge = {3577643008, 27111902};  // 1970-01-01
  EXPECT_TRUE(FileTimeToSystemTime(&kAge, &from));
  EXPECT_EQ(from.wYear, 1970);
  EXPECT_EQ(from.wDayOfWeek, 4);
}

TEST(Certificates, AreFoundByTextOfTheirNames) {
  const TlsIdentity authority = MakeAuthority("Blue Authority");
  IdentityOptions options;
  options.organization = "Sm\xC3\xAFth";
  const TlsIdentity identity = MakeIdentity(options, &authority);
  Pkcs12Options with_issuer;
  with_issuer.issuers = {authority};
  const OwnedStore store = ImportPfx(MakePkcs12(identity, with_issuer), u"");
  const struct {
    DWORD type;
    const char* text;
    std::vector<std::string> found;
  } kCases[] = {
      {CERT_FIND_ANY, nullptr, {"localhost", "Blue Authority"}},
      {CERT_FIND_SUBJECT_STR_A, "LOCAL", {"localhost"}},
      {CERT_FIND_SUBJECT_STR_A, "SM\xC3\x8FTH", {"localhost"}},
      {CERT_FIND_SUBJECT_STR_A, "sm\xC3\xAFth, localhost", {"localhost"}},
      {CERT_FIND_SUBJECT_STR_A, "blue", {"Blue Authority"}},
      {CERT_FIND_SUBJECT_STR_A, "CN=", {}},
      {CERT_FIND_ISSUER_STR_A, "blue", {"localhost", "Blue Authority"}},
      {CERT_FIND_ISSUER_STR_A, "localhost", {}},
  };
  for (const auto& each : kCases) {
    std::vector<std::string> found;
    PCCERT_CONTEXT context = nullptr;
    while ((context = Certificates().find(store.get(), X509_ASN_ENCODING, 0, each.type, each.text,
                                          context)) != nullptr) {
      found.push_back(DisplayName(context));
    }
    EXPECT_EQ(found, each.found) << each.type << each.text;
    EXPECT_EQ(GetLastError(), CRYPT_E_NOT_FOUND);
  }
}

// A name in its encoding, from fields as the openssl command takes them; "+" joins two.
std::string EncodedName(const std::vector<std::pair<const char*, std::string>>& fields) {
  const std::unique_ptr<X509_NAME, void (*)(X509_NAME*)> name(X509_NAME_new(), X509_NAME_free);
  for (const auto& [field, value] : fields) {
    const bool joined = field[0] == '+';
    X509_NAME_add_entry_by_txt(name.get(), joined ? field + 1 : field, MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(value.data()),
                               static_cast<int>(value.size()), -1, joined ? -1 : 0);
  }
  unsigned char* bytes = nullptr;
  const int size = i2d_X509_NAME(name.get(), &bytes);
  std::string encoded(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(size));
  OPENSSL_free(bytes);
  return encoded;
}

TEST(CertificateNames, AreWrittenAsText) {
  constexpr DWORD kNoPlus = CERT_X500_NAME_STR | CERT_NAME_STR_NO_PLUS_FLAG;
  const struct {
    std::vector<std::pair<const char*, std::string>> fields;
    DWORD type;
    const char* text;
  } kCases[] = {
      {{{"C", "DE"}, {"ST", "NRW"}, {"O", "Smith"}, {"CN", "host"}},
       CERT_X500_NAME_STR,
       "C=DE, S=NRW, O=Smith, CN=host"},
      {{{"C", "DE"}, {"O", "Smith"}, {"CN", "host"}}, CERT_SIMPLE_NAME_STR, "DE, Smith, host"},
      {{{"O", "Smith, \"Ltd\""}, {"CN", " a"}, {"OU", "x=y"}},
       CERT_X500_NAME_STR,
       "O=\"Smith, \"\"Ltd\"\"\", CN=\" a\", OU=\"x=y\""},
      {{{"CN", "host"}, {"+UID", "7"}},
       CERT_X500_NAME_STR,
       "CN=host + OID.0.9.2342.19200300.100.1.1=7"},
      {{{"CN", "host"}, {"+serialNumber", "7"}}, kNoPlus, "SERIALNUMBER=7 CN=host"},
      {{{"emailAddress", "me@example.org"}, {"DC", "org"}}, kNoPlus, "E=me@example.org, DC=org"},
      {{{"CN", std::string("good\0bad", 8)}}, kNoPlus, "CN=good?bad"},
      {{}, CERT_X500_NAME_STR, ""},
      {{{"CN", "x"}}, 2, ""},
  };
  for (const auto& each : kCases) {
    std::string encoded = EncodedName(each.fields);
    CERT_NAME_BLOB blob{static_cast<DWORD>(encoded.size()),
                        reinterpret_cast<BYTE*>(encoded.data())};
    const DWORD needed = Certificates().name_to_text(X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, &blob,
                                                     each.type, nullptr, 0);
    std::string text(needed, '?');
    EXPECT_EQ(Certificates().name_to_text(X509_ASN_ENCODING, &blob, each.type, text.data(), needed),
              needed);
    EXPECT_STREQ(text.c_str(), each.text);
    char cut[4] = "???";
    Certificates().name_to_text(X509_ASN_ENCODING, &blob, each.type, cut, sizeof(cut));
    EXPECT_EQ(cut, std::string(each.text).substr(0, 3));
  }
}

}  // namespace
}  // namespace test
