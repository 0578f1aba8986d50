/* The public headers compile as C11, and their records have the layout that bindings count on. */
#include "qvplatform.h"
/* After the layer's header, which has to do without it. */
#include "qvhttp12.h"

#define HAS_SIZE(type, size) _Static_assert(sizeof(type) == (size), "size of " #type)
#define HAS_FIELD(type, field, offset) \
  _Static_assert(offsetof(type, field) == (offset), "place of " #type "." #field)

HAS_SIZE(BOOL, 4);
HAS_SIZE(DWORD, 4);
HAS_SIZE(LONG, 4);
HAS_SIZE(WCHAR, 2);
HAS_SIZE(ULONGLONG, 8);
HAS_SIZE(HCLIENT, 8);
HAS_SIZE(HGLOBAL, 8);
HAS_SIZE(SYSTEMTIME, 16);

HAS_SIZE(HTTPTRANSFERSTATUS, 20);
HAS_FIELD(HTTPTRANSFERSTATUS, dwBytesTotal, 0);
HAS_FIELD(HTTPTRANSFERSTATUS, dwBytesCopied, 4);
HAS_FIELD(HTTPTRANSFERSTATUS, dwBytesPerSecond, 8);
HAS_FIELD(HTTPTRANSFERSTATUS, dwTimeElapsed, 12);
HAS_FIELD(HTTPTRANSFERSTATUS, dwTimeEstimated, 16);

HAS_SIZE(HTTPTRANSFERSTATUSEX, 32);
HAS_FIELD(HTTPTRANSFERSTATUSEX, dwBytesTotal, 0);
HAS_FIELD(HTTPTRANSFERSTATUSEX, dwBytesCopied, 8);
HAS_FIELD(HTTPTRANSFERSTATUSEX, dwBytesPerSecond, 16);
HAS_FIELD(HTTPTRANSFERSTATUSEX, dwTimeElapsed, 20);
HAS_FIELD(HTTPTRANSFERSTATUSEX, dwTimeEstimated, 24);
HAS_FIELD(HTTPTRANSFERSTATUSEX, dwReserved, 28);

#define HAS_URL_LAYOUT(type)         \
  HAS_SIZE(type, 48);                \
  HAS_FIELD(type, nScheme, 0);       \
  HAS_FIELD(type, nPort, 4);         \
  HAS_FIELD(type, lpszHostName, 8);  \
  HAS_FIELD(type, lpszResource, 16); \
  HAS_FIELD(type, lpszQuery, 24);    \
  HAS_FIELD(type, lpszUserName, 32); \
  HAS_FIELD(type, lpszPassword, 40)
HAS_URL_LAYOUT(HTTPURLCOMPONENTSA);
HAS_URL_LAYOUT(HTTPURLCOMPONENTSW);

#define HAS_CREDENTIALS_LAYOUT(type)  \
  HAS_SIZE(type, 64);                 \
  HAS_FIELD(type, dwSize, 0);         \
  HAS_FIELD(type, dwProtocol, 4);     \
  HAS_FIELD(type, dwOptions, 8);      \
  HAS_FIELD(type, dwReserved, 12);    \
  HAS_FIELD(type, lpszHostName, 16);  \
  HAS_FIELD(type, lpszUserName, 24);  \
  HAS_FIELD(type, lpszPassword, 32);  \
  HAS_FIELD(type, lpszCertStore, 40); \
  HAS_FIELD(type, lpszCertName, 48);  \
  HAS_FIELD(type, lpszKeyFile, 56)
HAS_CREDENTIALS_LAYOUT(SECURITYCREDENTIALSA);
HAS_CREDENTIALS_LAYOUT(SECURITYCREDENTIALSW);
