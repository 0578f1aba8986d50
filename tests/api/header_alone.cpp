// The public header compiles as C++ before any other, with the wide names chosen.
#define UNICODE
#include <cstddef>
#include <type_traits>

#include "qvhttp12.h"

static_assert(sizeof(HTTPTRANSFERSTATUS) == 20);
static_assert(sizeof(HTTPTRANSFERSTATUSEX) == 32);
static_assert(sizeof(HTTPURLCOMPONENTSA) == 48);
static_assert(sizeof(SECURITYCREDENTIALSA) == 64);
static_assert(offsetof(SECURITYCREDENTIALSA, lpszHostName) == 16);
static_assert(offsetof(HTTPTRANSFERSTATUSEX, dwReserved) == 28);
static_assert(std::is_same_v<WCHAR, char16_t>);
static_assert(std::is_same_v<HTTPURLCOMPONENTS, HTTPURLCOMPONENTSW>);
static_assert(std::is_same_v<SECURITYCREDENTIALS, SECURITYCREDENTIALSW>);
static_assert(std::is_same_v<decltype(HttpConnect), decltype(HttpConnectW)>);
static_assert(noexcept(HttpUninitialize()), "no exception crosses the interface");
