#include "url/scheme_table.h"

#include "frame/text.h"

namespace qv {
namespace {

// The first entry with an id gives that scheme its name.
constexpr Scheme kSchemes[] = {
    {"http", HTTP_SCHEME_HTTP, HTTP_PORT_DEFAULT},
    {"https", HTTP_SCHEME_HTTPS, HTTP_PORT_SECURE},
    {"feed", HTTP_SCHEME_HTTP, HTTP_PORT_DEFAULT},
};

}  // namespace

const Scheme* FindScheme(std::string_view name) {
  for (const Scheme& scheme : kSchemes) {
    if (EqualsNoCase(scheme.name, name)) return &scheme;
  }
  return nullptr;
}

const Scheme* FindScheme(DWORD id) {
  for (const Scheme& scheme : kSchemes) {
    if (scheme.id == id) return &scheme;
  }
  return nullptr;
}

}  // namespace qv
