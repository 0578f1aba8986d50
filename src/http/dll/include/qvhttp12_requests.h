/*
 * QVHTTP12: whole requests in one call. Included by qvhttp12.h, which says what holds for every
 * function.
 *
 * Each function but HttpVerifyFile opens a session of its own, does one transfer and closes the
 * session again; nothing but its results outlives the call. Redirects, options and errors are those
 * of HttpConnect and of the transfer functions. Since nobody can look at the session first, a
 * server whose certificate is refused gets no request: QV_ERROR_SECURITY_CERTIFICATE, unless
 * HTTP_OPTION_TRUSTEDSITE is set. Proxies: QV_ERROR_FEATURE_NOT_SUPPORTED.
 */
#ifndef QVHTTP12_REQUESTS_H
#define QVHTTP12_REQUESTS_H

#include "qvhttp12.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Types of requests (HttpSubmitRequest). */
#define HTTP_REQUEST_DEFAULT 0u /* POST when there are data, else GET */
#define HTTP_REQUEST_GET 1u
#define HTTP_REQUEST_POST 2u
#define HTTP_REQUEST_PUT 3u

/* How HttpSubmitRequest connects, and what it sends along; texts that are NULL are absent. */
typedef struct _HTTPCONNECTIONA {
  DWORD dwSize;    /* 104; 0: as if there were no record */
  DWORD dwOptions; /* HTTP_OPTION_* */
  DWORD dwVersion; /* HTTP_VERSION_* */
  UINT nTimeout;   /* seconds; 0 = 20 */
  UINT nEncoding;  /* HTTP_ENCODING_* of the data and the query; 0 sends them as they are */
  UINT nProxyType; /* 0 = none */
  UINT nProxyPort;
  UINT nAuthType;         /* HTTP_AUTH_* */
  LPCSTR lpszProxyServer; /* needed with a proxy type */
  LPCSTR lpszProxyUser;
  LPCSTR lpszProxyPassword;
  LPCSTR lpszUserAgent;
  LPCSTR lpszUserName; /* with an authentication type */
  LPCSTR lpszPassword; /* or the token */
  LPCSTR lpszContentType;
  LPCSTR lpszHeaders;                   /* lines, as for HttpAddRequestHeaders */
  LPSECURITYCREDENTIALSA lpCredentials; /* not used */
} HTTPCONNECTIONA, *LPHTTPCONNECTIONA;

typedef struct _HTTPCONNECTIONW {
  DWORD dwSize;
  DWORD dwOptions;
  DWORD dwVersion;
  UINT nTimeout;
  UINT nEncoding;
  UINT nProxyType;
  UINT nProxyPort;
  UINT nAuthType;
  LPCWSTR lpszProxyServer;
  LPCWSTR lpszProxyUser;
  LPCWSTR lpszProxyPassword;
  LPCWSTR lpszUserAgent;
  LPCWSTR lpszUserName;
  LPCWSTR lpszPassword;
  LPCWSTR lpszContentType;
  LPCWSTR lpszHeaders;
  LPSECURITYCREDENTIALSW lpCredentials;
} HTTPCONNECTIONW, *LPHTTPCONNECTIONW;

/*
 * Fetch the resource of a URL into a local file, and send a local file to a URL with PUT.
 *
 *   lpszLocalFile  a name, %NAME% references in it are expanded, or a "file:" URL; at most 260
 *                  characters after that
 *   lpszFileURL    an http or https URL, which alone decides about TLS; its user name and password
 *                  are sent as Basic credentials
 *   nTimeout       seconds; 0 = 20
 *   dwOptions      HTTP_OPTION_*; the connection is not kept
 *   lpStatus       receives the outcome of a transfer that succeeded, may be NULL; the Ex forms
 *                  empty it first
 *   lpEventProc, dwParam
 *                  called for HTTP_EVENT_PROGRESS in the calling thread, may be NULL
 *
 * Nonzero, or 0: QV_ERROR_NETWORK_NOT_INITIALIZED, QV_ERROR_INVALID_FILE_NAME,
 * QV_ERROR_INVALID_RESOURCE, errors of connecting and of HttpGetFile or HttpPutFile. A download
 * that fails can leave a part of the file.
 */
HTTPAPI BOOL WINAPI HttpDownloadFileA(LPCSTR lpszLocalFile, LPCSTR lpszFileURL, UINT nTimeout,
                                      DWORD dwOptions, LPHTTPTRANSFERSTATUS lpStatus,
                                      HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpDownloadFileW(LPCWSTR lpszLocalFile, LPCWSTR lpszFileURL, UINT nTimeout,
                                      DWORD dwOptions, LPHTTPTRANSFERSTATUS lpStatus,
                                      HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpDownloadFileExA(LPCSTR lpszLocalFile, LPCSTR lpszFileURL, UINT nTimeout,
                                        DWORD dwOptions, LPHTTPTRANSFERSTATUSEX lpStatus,
                                        HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpDownloadFileExW(LPCWSTR lpszLocalFile, LPCWSTR lpszFileURL, UINT nTimeout,
                                        DWORD dwOptions, LPHTTPTRANSFERSTATUSEX lpStatus,
                                        HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpUploadFileA(LPCSTR lpszLocalFile, LPCSTR lpszFileURL, UINT nTimeout,
                                    DWORD dwOptions, LPHTTPTRANSFERSTATUS lpStatus,
                                    HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpUploadFileW(LPCWSTR lpszLocalFile, LPCWSTR lpszFileURL, UINT nTimeout,
                                    DWORD dwOptions, LPHTTPTRANSFERSTATUS lpStatus,
                                    HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpUploadFileExA(LPCSTR lpszLocalFile, LPCSTR lpszFileURL, UINT nTimeout,
                                      DWORD dwOptions, LPHTTPTRANSFERSTATUSEX lpStatus,
                                      HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpUploadFileExW(LPCWSTR lpszLocalFile, LPCWSTR lpszFileURL, UINT nTimeout,
                                      DWORD dwOptions, LPHTTPTRANSFERSTATUSEX lpStatus,
                                      HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT;

/*
 * Whether a local file and a resource of a session's server have the same size; nothing else is
 * compared. The name is read as by HttpDownloadFile; dwReserved is 0. Nonzero when they have, or 0:
 * QV_ERROR_FILE_SIZE_MISMATCH when they have not; QV_ERROR_INVALID_FILE_NAME,
 * QV_ERROR_INVALID_RESOURCE, QV_ERROR_INVALID_PARAMETER, QV_ERROR_FILE_NOT_FOUND,
 * QV_ERROR_ACCESS_DENIED, errors of HttpGetFileSizeEx.
 */
HTTPAPI BOOL WINAPI HttpVerifyFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                    DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpVerifyFileW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                                    DWORD dwReserved) QV_NOEXCEPT;

/*
 * Sends one request and takes the response; redirects are followed.
 *
 *   dwRequestType  HTTP_REQUEST_*; POST and PUT need data, GET leaves them out
 *   lpszResource   an http or https URL; a user name and password in it are not used
 *   lpConnection   may be NULL
 *   lpvRequest, dwRequestLength
 *                  the data; 0xFFFFFFFF: a text up to its terminator
 *   lpvResponse, lpdwResponseLength
 *                  where the body goes, both may be NULL: on entry the capacity of the buffer in
 *                  bytes, or 0 when lpvResponse is the address of an HGLOBAL, which receives a
 *                  memory block that the caller frees (NULL for an empty body); on return the
 *                  length
 *
 * The content type of the data is lpszContentType, or is guessed: application/json for what begins
 * with "{" or "[", application/xml ("<?"), text/plain, application/octet-stream for what is no
 * ASCII text. Line ends of a text response become CR LF.
 *
 * The W form also resolves the host first, and turns UTF-16 data to UTF-8: those with a text type,
 * and those without a type that are well-formed. Data with a length are taken as they are when they
 * are ASCII text already.
 *
 * Returns the result code, 400 to 599 included (a PUT without lpvResponse fails with their errors,
 * as HttpPutData). HTTP_ERROR on failure, when nothing is stored and the length is 0:
 * QV_ERROR_NETWORK_NOT_INITIALIZED; QV_ERROR_INVALID_COMMAND (type); QV_ERROR_BUFFER_TOO_SMALL (no
 * length variable; or the body is longer than the buffer, and then the length tells how long);
 * QV_ERROR_INVALID_BUFFER (a capacity without a buffer, no data to send, or a UTF-16 text that is
 * malformed); QV_ERROR_INVALID_RESOURCE; QV_ERROR_INVALID_PARAMETER (dwSize);
 * QV_ERROR_INVALID_HOSTNAME (proxy type without server); QV_ERROR_UNSUPPORTED_MEDIA_TYPE (content
 * type of no known class); QV_ERROR_INVALID_HEADER_VALUE, QV_ERROR_INVALID_REQUEST_HEADER; errors
 * of connecting, authenticating and transferring.
 */
HTTPAPI INT WINAPI HttpSubmitRequestA(DWORD dwRequestType, LPCSTR lpszResource,
                                      LPHTTPCONNECTIONA lpConnection, LPCVOID lpvRequest,
                                      DWORD dwRequestLength, LPVOID lpvResponse,
                                      LPDWORD lpdwResponseLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpSubmitRequestW(DWORD dwRequestType, LPCWSTR lpszResource,
                                      LPHTTPCONNECTIONW lpConnection, LPCVOID lpvRequest,
                                      DWORD dwRequestLength, LPVOID lpvResponse,
                                      LPDWORD lpdwResponseLength) QV_NOEXCEPT;

#ifdef UNICODE
#define HTTPCONNECTION HTTPCONNECTIONW
#define LPHTTPCONNECTION LPHTTPCONNECTIONW
#define HttpDownloadFile HttpDownloadFileW
#define HttpDownloadFileEx HttpDownloadFileExW
#define HttpUploadFile HttpUploadFileW
#define HttpUploadFileEx HttpUploadFileExW
#define HttpVerifyFile HttpVerifyFileW
#define HttpSubmitRequest HttpSubmitRequestW
#else
#define HTTPCONNECTION HTTPCONNECTIONA
#define LPHTTPCONNECTION LPHTTPCONNECTIONA
#define HttpDownloadFile HttpDownloadFileA
#define HttpDownloadFileEx HttpDownloadFileExA
#define HttpUploadFile HttpUploadFileA
#define HttpUploadFileEx HttpUploadFileExA
#define HttpVerifyFile HttpVerifyFileA
#define HttpSubmitRequest HttpSubmitRequestA
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_REQUESTS_H */
