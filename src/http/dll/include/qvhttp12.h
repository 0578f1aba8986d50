/*
 * QVHTTP12: an HTTP client library with a flat C interface over opaque handles.
 *
 * Start with HttpInitialize, open a session with HttpConnect or HttpConnectUrl, transfer, close it
 * with HttpDisconnect, and end with HttpUninitialize.
 *
 * Said once, for every function:
 *  - Results. Counting functions return a count or the HTTP result code, and HTTP_ERROR (-1) on
 *    failure; Boolean functions return nonzero or 0; connect functions return a handle, or
 *    INVALID_CLIENT. The reason of a failure is in the calling thread's error slot, read with
 *    HttpGetLastError; its constants are in qverror.h. A successful call leaves the slot as it was
 *    unless the function says otherwise.
 *  - Handles. Every function that takes an HCLIENT checks it: QV_ERROR_INVALID_HANDLE when it names
 *    no session, QV_ERROR_NOT_HANDLE_OWNER when the session belongs to another thread (see
 *    HttpAttachThread and HTTP_OPTION_FREETHREAD). These two are not repeated below.
 *  - Text. Functions with text exist with the suffix A (bytes, UTF-8) and W (UTF-16); without a
 *    suffix the name means the A form, or the W form when UNICODE is defined. The W form differs in
 *    nothing but the encoding of its text unless it is said; capacities are in characters of the
 *    form, the terminator included.
 *  - Memory. Buffers belong to the caller. Blocks that the library hands over are movable memory
 *    blocks (qvplatform.h) that the caller frees with GlobalFree.
 *  - Threads. Any thread may call any function; a session is used by its owning thread.
 *  - QV_ERROR_OUT_OF_MEMORY can be the reason of any failure.
 *
 * Compiles as C11 and as C++.
 */
#ifndef QVHTTP12_H
#define QVHTTP12_H

#include "qverror.h"
#include "qvplatform.h"

#ifdef QVHTTP12_BUILD
#define HTTPAPI __attribute__((visibility("default")))
#else
#define HTTPAPI
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ==== Handles, records and constants ========================================================== */

/* A client session. */
typedef UINT_PTR HCLIENT;
#define INVALID_CLIENT ((HCLIENT) ~(UINT_PTR)0)

#define HTTP_ERROR (-1)

#define HTTP_PORT_DEFAULT 80
#define HTTP_PORT_SECURE 443
#define HTTP_TIMEOUT 20 /* seconds */

/* Protocol versions: major in the high 16 bits, minor in the low 16 bits. */
#define HTTP_VERSION_NONE 0u
#define HTTP_VERSION_DEFAULT 0u /* HTTP/1.1 */
#define HTTP_VERSION_09 9u
#define HTTP_VERSION_10 0x10000u
#define HTTP_VERSION_11 0x10001u
#define HTTP_VERSION_20 0x20000u
#define HTTP_VERSION_30 0x30000u

/* Session options. Those marked * can be changed later with HttpSetOption. */
#define HTTP_OPTION_NONE 0u
#define HTTP_OPTION_NOCACHE 0x1u            /* * ask caches for a fresh answer */
#define HTTP_OPTION_KEEPALIVE 0x2u          /* * keep the connection for further requests */
#define HTTP_OPTION_REDIRECT 0x4u           /* * follow redirects, at most three per command */
#define HTTP_OPTION_PROXY 0x8u              /* use the system's proxy settings */
#define HTTP_OPTION_ERRORDATA 0x10u         /* * responses 400 to 599 are data, not errors */
#define HTTP_OPTION_NOUSERAGENT 0x20u       /* * send no User-Agent */
#define HTTP_OPTION_HTTP2 0x40u             /* HTTP/2 over TLS, else HTTP/1.1 */
#define HTTP_OPTION_HTTP3 0x80u             /* HTTP/3 over TLS, else HTTP/1.1 */
#define HTTP_OPTION_TUNNEL 0x400u           /* ports 80 and 443 decide nothing about security */
#define HTTP_OPTION_TRUSTEDSITE 0x800u      /* accept the server's certificate as it is */
#define HTTP_OPTION_SECURE 0x1000u          /* TLS */
#define HTTP_OPTION_SECURE_FALLBACK 0x8000u /* allow older TLS versions */
#define HTTP_OPTION_PREFER_IPV6 0x40000u    /* resolve for IPv6 first */
#define HTTP_OPTION_FREETHREAD 0x80000u     /* * any thread may use the handle, one at a time */
#define HTTP_OPTION_HIRES_TIMER 0x100000u   /* * transfer times in milliseconds */

/* Session status. */
#define HTTP_STATUS_UNUSED 0
#define HTTP_STATUS_IDLE 1
#define HTTP_STATUS_CONNECT 2
#define HTTP_STATUS_READ 3
#define HTTP_STATUS_WRITE 4
#define HTTP_STATUS_DISCONNECT 5
#define HTTP_STATUS_GETDATA 6
#define HTTP_STATUS_PUTDATA 7
#define HTTP_STATUS_POSTDATA 8

/* Transfer priorities: how long a transfer pauses after each block. */
#define HTTP_PRIORITY_INVALID (-1)
#define HTTP_PRIORITY_BACKGROUND 0 /* 100 ms */
#define HTTP_PRIORITY_LOWEST 0
#define HTTP_PRIORITY_LOW 1    /* 20 ms */
#define HTTP_PRIORITY_NORMAL 2 /* none */
#define HTTP_PRIORITY_DEFAULT 2
#define HTTP_PRIORITY_HIGH 3
#define HTTP_PRIORITY_CRITICAL 4 /* none, and no progress events */
#define HTTP_PRIORITY_HIGHEST 4

/* How request parameters are encoded and typed. */
#define HTTP_ENCODING_NONE 0
#define HTTP_ENCODING_URL 1 /* application/x-www-form-urlencoded */
#define HTTP_ENCODING_DEFAULT 1
#define HTTP_ENCODING_XML 2    /* application/xml */
#define HTTP_ENCODING_JSON 3   /* application/json */
#define HTTP_ENCODING_UTF8 4   /* text/plain; charset=utf-8 */
#define HTTP_ENCODING_ANSI 5   /* text/plain; not accepted as a session setting */
#define HTTP_ENCODING_XMLURL 6 /* application/x-www-form-urlencoded, spaces kept */

/* Authentication types. */
#define HTTP_AUTH_NONE 0
#define HTTP_AUTH_BASIC 1
#define HTTP_AUTH_DIGEST 2 /* not supported */
#define HTTP_AUTH_NTLM 3   /* not supported */
#define HTTP_AUTH_BEARER 4

/* Header lists. */
#define HTTP_HEADERS_REQUEST 0u
#define HTTP_HEADERS_RESPONSE 1u

/* Cookie flags. */
#define HTTP_COOKIE_SECURE 0x1u  /* to be returned over TLS only */
#define HTTP_COOKIE_SESSION 0x2u /* has no date of expiry */

/* Content classes. */
#define HTTP_CONTENT_UNKNOWN 0
#define HTTP_CONTENT_BINARY 1
#define HTTP_CONTENT_TEXT 2
#define HTTP_CONTENT_AUDIO 3
#define HTTP_CONTENT_IMAGE 4
#define HTTP_CONTENT_MESSAGE 5
#define HTTP_CONTENT_MULTIPART 6
#define HTTP_CONTENT_VIDEO 7
#define HTTP_CONTENT_FONT 8
#define HTTP_CONTENT_MODEL 9

/* Transfer options. */
#define HTTP_TRANSFER_DEFAULT 0u
#define HTTP_TRANSFER_CONVERT 0x1u   /* line ends of text become CR LF */
#define HTTP_TRANSFER_COMPRESS 0x2u  /* ask for a compressed body and decode it */
#define HTTP_TRANSFER_ERRORDATA 0x4u /* responses 400 to 599 are data, not errors */

/* Submission options. */
#define HTTP_POST_DEFAULT 0u
#define HTTP_POST_CONVERT 0x1u   /* line ends of a text response become CR LF */
#define HTTP_POST_MULTIPART 0x2u /* the body is a multipart document, sent as it is */
#define HTTP_POST_ERRORDATA 0x4u /* responses 400 to 599 are data, not errors */

/* URL schemes and options. */
#define HTTP_SCHEME_HTTP 1u
#define HTTP_SCHEME_HTTPS 2u
#define HTTP_URLOPT_ENCODEQUERY 0x1u /* percent-encode the query */
#define HTTP_URLOPT_NORMALIZE 0x4u   /* normalize the path */
#define HTTP_URLOPT_KEEPQUERY 0x8u   /* leave the query in the path */

/* Events of a session (HttpRegisterEvent). */
#define HTTP_EVENT_CONNECT 0x1u    /* an asynchronous connect has finished */
#define HTTP_EVENT_DISCONNECT 0x2u /* the server closed the connection */
#define HTTP_EVENT_READ 0x4u       /* there is data to read */
#define HTTP_EVENT_WRITE 0x8u      /* data can be written */
#define HTTP_EVENT_TIMEOUT 0x10u   /* a blocking wait timed out */
#define HTTP_EVENT_CANCEL 0x20u    /* a blocking wait or a transfer was cancelled */
#define HTTP_EVENT_COMMAND 0x40u   /* a command has completed */
#define HTTP_EVENT_PROGRESS 0x80u  /* a transfer has moved on */
#define HTTP_EVENT_REDIRECT 0x100u /* a redirection is being followed */
#define HTTP_EVENT_FILEOPEN 0x400u /* a download has tried to open its local file */
#define HTTP_EVENT_UPLOAD 0x800u   /* an upload is about to start */

/*
 * A callback for events: the session, the event, its error code (0 = none) and the parameter that
 * was registered with it. It runs in the thread of the call that raised the event and may close the
 * session.
 */
typedef void(CALLBACK* HTTPEVENTPROC)(HCLIENT hClient, UINT nEventId, DWORD dwError,
                                      DWORD_PTR dwParam);

/* Progress of a transfer. Bytes include the start offset of a resumed transfer. Times are in
 * seconds, or in milliseconds with HTTP_OPTION_HIRES_TIMER. */
typedef struct _HTTPTRANSFERSTATUS {
  DWORD dwBytesTotal;     /* 0xFFFFFFFF when it does not fit */
  DWORD dwBytesCopied;    /* 0xFFFFFFFF when it does not fit */
  DWORD dwBytesPerSecond; /* average so far */
  DWORD dwTimeElapsed;
  DWORD dwTimeEstimated; /* time left; the whole time when the transfer is over */
} HTTPTRANSFERSTATUS, *LPHTTPTRANSFERSTATUS;

typedef struct _HTTPTRANSFERSTATUSEX {
  ULONGLONG dwBytesTotal;
  ULONGLONG dwBytesCopied;
  DWORD dwBytesPerSecond;
  DWORD dwTimeElapsed;
  DWORD dwTimeEstimated;
  DWORD dwReserved; /* 0 */
} HTTPTRANSFERSTATUSEX, *LPHTTPTRANSFERSTATUSEX;

/* The parts of a URL; see HttpParseUrl. */
typedef struct _HTTPURLCOMPONENTSA {
  DWORD nScheme;      /* HTTP_SCHEME_HTTP or HTTP_SCHEME_HTTPS; 0 composes a relative reference */
  DWORD nPort;        /* the scheme's default when the URL names none */
  LPSTR lpszHostName; /* an IPv6 address without its brackets */
  LPSTR lpszResource; /* the path, beginning with "/" */
  LPSTR lpszQuery;    /* without "?"; NULL when there is none */
  LPSTR lpszUserName; /* NULL when there is none */
  LPSTR lpszPassword; /* NULL when there is none */
} HTTPURLCOMPONENTSA, *LPHTTPURLCOMPONENTSA;

typedef struct _HTTPURLCOMPONENTSW {
  DWORD nScheme;
  DWORD nPort;
  LPWSTR lpszHostName;
  LPWSTR lpszResource;
  LPWSTR lpszQuery;
  LPWSTR lpszUserName;
  LPWSTR lpszPassword;
} HTTPURLCOMPONENTSW, *LPHTTPURLCOMPONENTSW;

/* How a secure session identifies itself; NULL strings are absent. */
typedef struct _SECURITYCREDENTIALSA {
  DWORD dwSize;     /* 64 */
  DWORD dwProtocol; /* TLS versions to offer, 0 = TLS 1.2 and 1.3 */
  DWORD dwOptions;  /* where the client certificate lives */
  DWORD dwReserved;
  LPCSTR lpszHostName; /* server name for TLS, else the name connected to */
  LPCSTR lpszUserName;
  LPCSTR lpszPassword;  /* of a PKCS #12 file */
  LPCSTR lpszCertStore; /* store name or PKCS #12 file */
  LPCSTR lpszCertName;  /* friendly name of the certificate, or text of its subject */
  LPCSTR lpszKeyFile;
} SECURITYCREDENTIALSA, *LPSECURITYCREDENTIALSA;

typedef struct _SECURITYCREDENTIALSW {
  DWORD dwSize;
  DWORD dwProtocol;
  DWORD dwOptions;
  DWORD dwReserved;
  LPCWSTR lpszHostName;
  LPCWSTR lpszUserName;
  LPCWSTR lpszPassword;
  LPCWSTR lpszCertStore;
  LPCWSTR lpszCertName;
  LPCWSTR lpszKeyFile;
} SECURITYCREDENTIALSW, *LPSECURITYCREDENTIALSW;

/* ==== Library ================================================================================= */

/*
 * Starts the library; call it before any session is opened. Each successful call is matched by one
 * HttpUninitialize. Both arguments are reserved and not interpreted. Nonzero on success, and then
 * the error slot is 0; 0 on failure: QV_ERROR_INVALID_VERSION, QV_ERROR_NETWORK_NOT_READY.
 */
HTTPAPI BOOL WINAPI HttpInitializeA(LPCSTR lpszReserved, DWORD_PTR dwReserved) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpInitializeW(LPCWSTR lpszReserved, DWORD_PTR dwReserved) QV_NOEXCEPT;

/* Undoes one HttpInitialize; the last one closes every session, whatever thread owns it. */
HTTPAPI void WINAPI HttpUninitialize(void) QV_NOEXCEPT;

/* The calling thread's last error, 0 when none was set. */
HTTPAPI DWORD WINAPI HttpGetLastError(void) QV_NOEXCEPT;

/*
 * Sets the calling thread's last error, and the platform's (GetLastError). A nonzero code below
 * 0x10000 becomes 0x80040000 + code.
 */
HTTPAPI void WINAPI HttpSetLastError(DWORD dwError) QV_NOEXCEPT;

/*
 * The text of an error code (of the thread's last error for 0), without a line end. At most
 * nMaxLength characters are written, the terminator included; with a NULL buffer the text is only
 * measured. Returns the length, 0 when there is no text (or it does not fit).
 */
HTTPAPI INT WINAPI HttpGetErrorStringA(DWORD dwError, LPSTR lpszError, INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetErrorStringW(DWORD dwError, LPWSTR lpszError, INT nMaxLength) QV_NOEXCEPT;

/*
 * Makes a thread (0 = the calling one) the owner of a session. Any thread may call it. Returns the
 * id of the previous owner, or all bits set (QV_ERROR_INVALID_HANDLE).
 */
HTTPAPI DWORD WINAPI HttpAttachThread(HCLIENT hClient, DWORD dwThreadId) QV_NOEXCEPT;

/* Trace flags. */
#define TRACE_INFO 0u    /* everything, as TRACE_HEXDUMP */
#define TRACE_ERROR 1u   /* errors and failed socket calls, but for would-block and name lookups */
#define TRACE_WARNING 2u /* warnings and all failed socket calls */
#define TRACE_HEXDUMP 4u /* everything, with the data sent and received */
#define TRACE_PROCESS 0x1000u /* one trace for all threads of the process */

/*
 * Starts a trace log of what the calling thread (or the process) does: a text file to which each
 * line is appended with the file opened and closed around it, readable for its owner only.
 *
 *   lpszTraceFile  NULL or empty: "Quorvane.log" in the user's documents folder; a bare name: that
 *                  file there; a folder: "Quorvane.log" in it; %NAME% references are expanded
 *   dwTraceFlags   TRACE_* bits
 *
 * Calls of one thread are counted; each is matched by one HttpDisableTrace. 0 when the log cannot
 * be written there: a folder, device, read-only file, or a program's extension such as ".exe".
 */
HTTPAPI BOOL WINAPI HttpEnableTraceA(LPCSTR lpszTraceFile, DWORD dwTraceFlags) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpEnableTraceW(LPCWSTR lpszTraceFile, DWORD dwTraceFlags) QV_NOEXCEPT;

/* Undoes one HttpEnableTrace. 0 when the caller has no trace. */
HTTPAPI BOOL WINAPI HttpDisableTrace(void) QV_NOEXCEPT;

/* ==== Connections ============================================================================= */

/*
 * Opens a session to a server.
 *
 *   lpszRemoteHost  host name, address, or a URL whose host (and scheme, and port) is used
 *   nRemotePort     0 = 80, or 443 for a secure session
 *   nTimeout        seconds that connecting and every later wait may take; 0 = 20
 *   dwOptions       HTTP_OPTION_* bits; port 443 implies HTTP_OPTION_SECURE
 *   dwVersion       HTTP_VERSION_*; 0 = HTTP/1.1
 *   lpCredentials   for secure sessions, may be NULL
 *
 * Returns the session's handle, to be closed with HttpDisconnect; it belongs to the calling thread.
 * INVALID_CLIENT on failure: QV_ERROR_NETWORK_NOT_INITIALIZED; QV_ERROR_INVALID_HOSTNAME (empty,
 * malformed or unknown host); QV_ERROR_INVALID_PROTOCOL_VERSION; QV_ERROR_OPERATION_TIMEOUT;
 * QV_ERROR_CONNECTION_REFUSED and other errors of the socket layer; QV_ERROR_FEATURE_NOT_SUPPORTED
 * for what this build cannot do (TLS, HTTP/2 and proxies).
 */
HTTPAPI HCLIENT WINAPI HttpConnectA(LPCSTR lpszRemoteHost, UINT nRemotePort, UINT nTimeout,
                                    DWORD dwOptions, DWORD dwVersion,
                                    LPSECURITYCREDENTIALSA lpCredentials) QV_NOEXCEPT;
HTTPAPI HCLIENT WINAPI HttpConnectW(LPCWSTR lpszRemoteHost, UINT nRemotePort, UINT nTimeout,
                                    DWORD dwOptions, DWORD dwVersion,
                                    LPSECURITYCREDENTIALSW lpCredentials) QV_NOEXCEPT;

/*
 * As HttpConnect, but does not wait for the connection: with a window the session is returned in
 * status HTTP_STATUS_CONNECT, its events are enabled as by HttpEnableEvents, and HTTP_EVENT_CONNECT
 * follows with the outcome. A session whose connect failed is gone after that event. The window
 * belongs to the calling thread.
 */
HTTPAPI HCLIENT WINAPI HttpAsyncConnectA(LPCSTR lpszRemoteHost, UINT nRemotePort, UINT nTimeout,
                                         DWORD dwOptions, DWORD dwVersion,
                                         LPSECURITYCREDENTIALSA lpCredentials, HWND hEventWnd,
                                         UINT uEventMsg) QV_NOEXCEPT;
HTTPAPI HCLIENT WINAPI HttpAsyncConnectW(LPCWSTR lpszRemoteHost, UINT nRemotePort, UINT nTimeout,
                                         DWORD dwOptions, DWORD dwVersion,
                                         LPSECURITYCREDENTIALSW lpCredentials, HWND hEventWnd,
                                         UINT uEventMsg) QV_NOEXCEPT;

/*
 * Opens a session to the server that a URL names, with the URL's user name and password as Basic
 * credentials. A text without scheme counts as http (https with HTTP_OPTION_SECURE). Result and
 * errors as HttpConnect, and QV_ERROR_INVALID_RESOURCE for an empty or malformed URL.
 */
HTTPAPI HCLIENT WINAPI HttpConnectUrlA(LPCSTR lpszURL, UINT nTimeout, DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI HCLIENT WINAPI HttpConnectUrlW(LPCWSTR lpszURL, UINT nTimeout, DWORD dwOptions) QV_NOEXCEPT;

/*
 * Closes a session and everything that belongs to it. 0, or HTTP_ERROR:
 * QV_ERROR_OPERATION_IN_PROGRESS while a blocking call runs on it.
 */
HTTPAPI INT WINAPI HttpDisconnect(HCLIENT hClient) QV_NOEXCEPT;

/* ==== Session input and output ================================================================ */

/*
 * Reads bytes of the response body as they arrive: at least one, at most cbBuffer. A chunked body
 * comes with its framing. Returns the count, 0 at the end of the body or when the server has closed
 * the connection, or HTTP_ERROR: QV_ERROR_INVALID_BUFFER, QV_ERROR_BUFFER_TOO_SMALL (cbBuffer below
 * 1), QV_ERROR_CONNECTION_CLOSED, QV_ERROR_OPERATION_TIMEOUT (the session stays usable),
 * QV_ERROR_OPERATION_CANCELED, errors of the socket layer.
 */
HTTPAPI INT WINAPI HttpRead(HCLIENT hClient, LPBYTE lpBuffer, INT cbBuffer) QV_NOEXCEPT;

/* Sends up to cbBuffer bytes; returns the count sent, which may be less, or HTTP_ERROR as HttpRead.
 */
HTTPAPI INT WINAPI HttpWrite(HCLIENT hClient, const BYTE* lpBuffer, INT cbBuffer) QV_NOEXCEPT;

/*
 * Whether a read would not wait. nTimeout: seconds to wait for that, 0 = look once. lpdwAvail (may
 * be NULL) receives the number of bytes at hand.
 */
HTTPAPI BOOL WINAPI HttpIsReadable(HCLIENT hClient, INT nTimeout, LPDWORD lpdwAvail) QV_NOEXCEPT;

/* Whether a write would not wait. QV_ERROR_OPERATION_IN_PROGRESS while a blocking call runs. */
HTTPAPI BOOL WINAPI HttpIsWritable(HCLIENT hClient, INT nTimeout) QV_NOEXCEPT;

/* Whether the session has a connection. */
HTTPAPI BOOL WINAPI HttpIsConnected(HCLIENT hClient) QV_NOEXCEPT;

/* Whether a call on the session waits at this moment. Any thread may ask. */
HTTPAPI BOOL WINAPI HttpIsBlocking(HCLIENT hClient) QV_NOEXCEPT;

/*
 * Ends the wait or transfer that runs on the session in another thread (or in an event of this
 * one); that call fails with QV_ERROR_OPERATION_CANCELED. Any thread may call it. 0 or HTTP_ERROR:
 * QV_ERROR_OPERATION_NOT_BLOCKING for INVALID_CLIENT.
 */
HTTPAPI INT WINAPI HttpCancel(HCLIENT hClient) QV_NOEXCEPT;

/* The time-out of waits in seconds, 0 = none; HTTP_ERROR on failure. */
HTTPAPI INT WINAPI HttpGetTimeout(HCLIENT hClient) QV_NOEXCEPT;

/* Sets the time-out of waits in seconds, at most 3600; 0 = waits never time out. 0 or HTTP_ERROR.
 */
HTTPAPI INT WINAPI HttpSetTimeout(HCLIENT hClient, INT nTimeout) QV_NOEXCEPT;

/*
 * Tells in *lpbEnabled whether any of the option bits is set. 0 (and the error slot is 0), or
 * HTTP_ERROR: QV_ERROR_INVALID_PARAMETER for a NULL pointer.
 */
HTTPAPI INT WINAPI HttpGetOption(HCLIENT hClient, DWORD dwOption, LPBOOL lpbEnabled) QV_NOEXCEPT;

/*
 * Sets or clears one of the options marked * above. 0 (and the error slot is 0), or HTTP_ERROR:
 * QV_ERROR_INVALID_OPTION for any other value.
 */
HTTPAPI INT WINAPI HttpSetOption(HCLIENT hClient, DWORD dwOption, BOOL bEnabled) QV_NOEXCEPT;

/* The encoding type of request parameters (HTTP_ENCODING_*), HTTP_ERROR on failure. */
HTTPAPI INT WINAPI HttpGetEncodingType(HCLIENT hClient) QV_NOEXCEPT;

/* Sets it; HTTP_ENCODING_ANSI is refused (QV_ERROR_INVALID_ENCODING_TYPE). 0 or HTTP_ERROR. */
HTTPAPI INT WINAPI HttpSetEncodingType(HCLIENT hClient, INT nEncodingType) QV_NOEXCEPT;

/* The transfer priority (HTTP_PRIORITY_*), HTTP_ERROR on failure. */
HTTPAPI INT WINAPI HttpGetPriority(HCLIENT hClient) QV_NOEXCEPT;

/* Sets it and returns the previous one; HTTP_ERROR: QV_ERROR_INVALID_PARAMETER. */
HTTPAPI INT WINAPI HttpSetPriority(HCLIENT hClient, INT nPriority) QV_NOEXCEPT;

/* What the session is doing (HTTP_STATUS_*), HTTP_ERROR on failure. Any thread may ask. */
HTTPAPI INT WINAPI HttpGetStatus(HCLIENT hClient) QV_NOEXCEPT;

/*
 * The progress of the current or last transfer. Any thread may ask. 0 or HTTP_ERROR:
 * QV_ERROR_INVALID_PARAMETER for a NULL record. The body of a response may end before its announced
 * length without an error; dwBytesCopied then stays below dwBytesTotal.
 */
HTTPAPI INT WINAPI HttpGetTransferStatus(HCLIENT hClient,
                                         LPHTTPTRANSFERSTATUS lpStatus) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetTransferStatusEx(HCLIENT hClient,
                                           LPHTTPTRANSFERSTATUSEX lpStatus) QV_NOEXCEPT;

/*
 * The URL of the session's current resource (at most 5119 characters). Returns its length; with a
 * NULL buffer it is only measured. HTTP_ERROR: QV_ERROR_BUFFER_TOO_SMALL.
 */
HTTPAPI INT WINAPI HttpGetResourceUrlA(HCLIENT hClient, LPSTR lpszResource,
                                       INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetResourceUrlW(HCLIENT hClient, LPWSTR lpszResource,
                                       INT nMaxLength) QV_NOEXCEPT;

/* As HttpGetResourceUrl, for the location that the last response redirected to; 0 without one. */
HTTPAPI INT WINAPI HttpGetRedirectUrlA(HCLIENT hClient, LPSTR lpszResource,
                                       INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetRedirectUrlW(HCLIENT hClient, LPWSTR lpszResource,
                                       INT nMaxLength) QV_NOEXCEPT;

/*
 * The class (HTTP_CONTENT_*) of the response's Content-Type, and its text (cut to the buffer).
 * HTTP_CONTENT_UNKNOWN when there is none.
 */
HTTPAPI INT WINAPI HttpGetContentTypeA(HCLIENT hClient, LPSTR lpszContentType,
                                       INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetContentTypeW(HCLIENT hClient, LPWSTR lpszContentType,
                                       INT nMaxLength) QV_NOEXCEPT;

/*
 * Sets the Content-Type of later requests; NULL or an empty text removes it. 0 on failure:
 * QV_ERROR_INVALID_PARAMETER for a type whose class is unknown.
 */
HTTPAPI BOOL WINAPI HttpSetContentTypeA(HCLIENT hClient, LPCSTR lpszContentType) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpSetContentTypeW(HCLIENT hClient, LPCWSTR lpszContentType) QV_NOEXCEPT;

/* ==== Headers ================================================================================= */

/*
 * Sets a header of all later requests, or removes it (NULL or empty value). Names compare without
 * case; a header keeps its place in the list. 0 on failure: QV_ERROR_INVALID_HEADER_NAME,
 * QV_ERROR_INVALID_HEADER_VALUE (a line break, or removing what is not set).
 */
HTTPAPI BOOL WINAPI HttpSetRequestHeaderA(HCLIENT hClient, LPCSTR lpszHeader,
                                          LPCSTR lpszValue) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpSetRequestHeaderW(HCLIENT hClient, LPCWSTR lpszHeader,
                                          LPCWSTR lpszValue) QV_NOEXCEPT;

/*
 * The value of a request header, or the first response field of that name. lpszValue may be NULL to
 * ask only whether it is there. Clears the error slot first. 0 on failure:
 * QV_ERROR_HEADER_NOT_FOUND, QV_ERROR_INVALID_HEADER_NAME, QV_ERROR_BUFFER_TOO_SMALL.
 */
HTTPAPI BOOL WINAPI HttpGetRequestHeaderA(HCLIENT hClient, LPCSTR lpszHeader, LPSTR lpszValue,
                                          INT cchValue) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetRequestHeaderW(HCLIENT hClient, LPCWSTR lpszHeader, LPWSTR lpszValue,
                                          INT cchValue) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetResponseHeaderA(HCLIENT hClient, LPCSTR lpszHeader, LPSTR lpszValue,
                                           INT cchValue) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetResponseHeaderW(HCLIENT hClient, LPCWSTR lpszHeader, LPWSTR lpszValue,
                                           INT cchValue) QV_NOEXCEPT;

/*
 * Enumerates a header list (HTTP_HEADERS_*). The length variables hold the capacities on entry and
 * the lengths with the terminator on return. 0 on failure: QV_ERROR_HEADER_NOT_FOUND at the end;
 * QV_ERROR_BUFFER_TOO_SMALL (the lengths tell what is needed; the next call gives the same header);
 * QV_ERROR_INVALID_PARAMETER, QV_ERROR_INVALID_HEADER_TYPE.
 */
HTTPAPI BOOL WINAPI HttpGetFirstHeaderA(HCLIENT hClient, DWORD nHeaderType, LPSTR lpszHeader,
                                        LPINT lpcchHeader, LPSTR lpszValue,
                                        LPINT lpcchValue) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetFirstHeaderW(HCLIENT hClient, DWORD nHeaderType, LPWSTR lpszHeader,
                                        LPINT lpcchHeader, LPWSTR lpszValue,
                                        LPINT lpcchValue) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetNextHeaderA(HCLIENT hClient, DWORD nHeaderType, LPSTR lpszHeader,
                                       LPINT lpcchHeader, LPSTR lpszValue,
                                       LPINT lpcchValue) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetNextHeaderW(HCLIENT hClient, DWORD nHeaderType, LPWSTR lpszHeader,
                                       LPINT lpcchHeader, LPWSTR lpszValue,
                                       LPINT lpcchValue) QV_NOEXCEPT;

/* Empties a header list. 0 on failure: QV_ERROR_INVALID_HEADER_TYPE. */
HTTPAPI BOOL WINAPI HttpDeleteHeaders(HCLIENT hClient, DWORD nHeaderType) QV_NOEXCEPT;

/* Empties both lists and puts the default User-Agent back. 0 on success, HTTP_ERROR on failure. */
HTTPAPI INT WINAPI HttpClearHeaders(HCLIENT hClient) QV_NOEXCEPT;

/*
 * Sets request headers from a text of lines "Name: value". Nonzero when at least one was set; 0
 * with error 0 for a blank text; QV_ERROR_INVALID_REQUEST_HEADER for a line without a colon (the
 * headers of earlier lines stay set), or the error of HttpSetRequestHeader.
 */
HTTPAPI BOOL WINAPI HttpAddRequestHeadersA(HCLIENT hClient, LPCSTR lpszHeaderList) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpAddRequestHeadersW(HCLIENT hClient, LPCWSTR lpszHeaderList) QV_NOEXCEPT;

/* ==== Responses =============================================================================== */

/* The status code of the last response, 0 before any; HTTP_ERROR on failure. */
HTTPAPI INT WINAPI HttpGetResultCode(HCLIENT hClient) QV_NOEXCEPT;

/*
 * The reason phrase of the last response (cut to the buffer). Returns its length; 0 with
 * QV_ERROR_INVALID_PARAMETER for a NULL buffer or a capacity below 1.
 */
HTTPAPI INT WINAPI HttpGetResultStringA(HCLIENT hClient, LPSTR lpszMessage,
                                        INT cchMessage) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetResultStringW(HCLIENT hClient, LPWSTR lpszMessage,
                                        INT cchMessage) QV_NOEXCEPT;

/*
 * The length of the last response's body, as announced or, after the transfer, as received. 0 with
 * QV_ERROR_HEADER_NOT_FOUND when it is not known. HttpGetContentLength stores the low 32 bits.
 */
HTTPAPI BOOL WINAPI HttpGetContentLength(HCLIENT hClient, LPDWORD lpdwLength) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetContentLengthEx(HCLIENT hClient, LPULONGLONG lpqwLength) QV_NOEXCEPT;

/* ==== Commands and authentication ============================================================= */

/*
 * Sends a request and reads the header of its response.
 *
 *   lpszCommand    method, sent in upper case
 *   lpszFileName   path with or without query, or an absolute URL
 *   lpParameter, cbParameter
 *                  the body for POST, PUT, PATCH, PROPFIND, BPROPFIND, PROPPATCH and BPROPPATCH, an
 *                  addition to the query for other methods; encoded as HttpSetEncodingType says
 *                  unless they are URL-safe
 *   dwReserved     0
 *
 * Returns the result code. The body, if any, is read with HttpRead, and HttpCloseFile ends the
 * request (not after HEAD). A PUT without parameters reads no response: the body follows with
 * HttpWrite, and HttpCloseFile reads the response. HTTP_ERROR on failure:
 * QV_ERROR_INVALID_COMMAND, QV_ERROR_INVALID_RESOURCE, QV_ERROR_INVALID_PARAMETER,
 * QV_ERROR_REQUEST_NOT_COMPLETED (the previous request was not closed), QV_ERROR_CONNECTION_CLOSED,
 * QV_ERROR_INVALID_SERVER_RESPONSE, the error that stands for the status code (404:
 * QV_ERROR_RESOURCE_NOT_FOUND, 401: QV_ERROR_COMMAND_NOT_AUTHORIZED…),
 * QV_ERROR_RESOURCE_REDIRECTED (the fourth redirect), errors of connecting, reading and writing.
 */
HTTPAPI INT WINAPI HttpCommandA(HCLIENT hClient, LPCSTR lpszCommand, LPCSTR lpszFileName,
                                LPCVOID lpParameter, DWORD cbParameter,
                                DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpCommandW(HCLIENT hClient, LPCWSTR lpszCommand, LPCWSTR lpszFileName,
                                LPCVOID lpParameter, DWORD cbParameter,
                                DWORD dwReserved) QV_NOEXCEPT;

/*
 * Sets the credentials of later requests: HTTP_AUTH_NONE, HTTP_AUTH_BASIC (user name below 1024,
 * password below 4096 characters) or HTTP_AUTH_BEARER (token in lpszPassword, below 4096). They are
 * sent to the host, port and security that the session has now, never elsewhere after a redirect.
 * 0 or HTTP_ERROR: QV_ERROR_INVALID_USERNAME, QV_ERROR_INVALID_PASSWORD,
 * QV_ERROR_INVALID_PARAMETER (token), QV_ERROR_INVALID_AUTHENTICATION_TYPE.
 */
HTTPAPI INT WINAPI HttpAuthenticateA(HCLIENT hClient, UINT idMethod, LPCSTR lpszUserName,
                                     LPCSTR lpszPassword) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpAuthenticateW(HCLIENT hClient, UINT idMethod, LPCWSTR lpszUserName,
                                     LPCWSTR lpszPassword) QV_NOEXCEPT;

/* HttpAuthenticate with HTTP_AUTH_BEARER; a NULL or empty token switches authentication off. */
HTTPAPI INT WINAPI HttpSetBearerTokenA(HCLIENT hClient, LPCSTR lpszBearerToken) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpSetBearerTokenW(HCLIENT hClient, LPCWSTR lpszBearerToken) QV_NOEXCEPT;

/*
 * The bearer token. Returns its length, 0 when there is none, or HTTP_ERROR:
 * QV_ERROR_INVALID_PARAMETER (NULL buffer), QV_ERROR_BUFFER_TOO_SMALL.
 */
HTTPAPI INT WINAPI HttpGetBearerTokenA(HCLIENT hClient, LPSTR lpszBearerToken,
                                       INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetBearerTokenW(HCLIENT hClient, LPWSTR lpszBearerToken,
                                       INT nMaxLength) QV_NOEXCEPT;

/* ==== Cookies and user agent ================================================================== */

/*
 * Enumerates the cookies that the last response set. HttpGetFirstCookie reads them from the
 * response; both return a position for HttpGetNextCookie, or 0 at the end. Texts are cut to their
 * buffers; the length variables hold the capacities on entry and the lengths on return.
 */
HTTPAPI DWORD_PTR WINAPI HttpGetFirstCookieA(HCLIENT hClient, LPSTR lpszName, LPINT lpcchName,
                                             LPSTR lpszValue, LPINT lpcchValue) QV_NOEXCEPT;
HTTPAPI DWORD_PTR WINAPI HttpGetFirstCookieW(HCLIENT hClient, LPWSTR lpszName, LPINT lpcchName,
                                             LPWSTR lpszValue, LPINT lpcchValue) QV_NOEXCEPT;
HTTPAPI DWORD_PTR WINAPI HttpGetNextCookieA(HCLIENT hClient, DWORD_PTR dwCookie,
                                            LPSTR lpszCookieName, LPINT lpnCookieName,
                                            LPSTR lpszCookieValue,
                                            LPINT lpnCookieValue) QV_NOEXCEPT;
HTTPAPI DWORD_PTR WINAPI HttpGetNextCookieW(HCLIENT hClient, DWORD_PTR dwCookie,
                                            LPWSTR lpszCookieName, LPINT lpnCookieName,
                                            LPWSTR lpszCookieValue,
                                            LPINT lpnCookieValue) QV_NOEXCEPT;

/*
 * One cookie of the response by name (without case); texts are cut to their buffers, any of which
 * may be NULL. lpstCookieExpires receives the date of expiry (UTC; zeros without one),
 * lpdwCookieFlags HTTP_COOKIE_* bits. 0 when there is no such cookie.
 */
HTTPAPI BOOL WINAPI HttpGetCookieA(HCLIENT hClient, LPCSTR lpszCookieName, LPSTR lpszCookieValue,
                                   INT nCookieValue, LPSTR lpszCookiePath, INT nCookiePath,
                                   LPSTR lpszCookieDomain, INT nCookieDomain,
                                   LPSYSTEMTIME lpstCookieExpires,
                                   LPDWORD lpdwCookieFlags) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetCookieW(HCLIENT hClient, LPCWSTR lpszCookieName, LPWSTR lpszCookieValue,
                                   INT nCookieValue, LPWSTR lpszCookiePath, INT nCookiePath,
                                   LPWSTR lpszCookieDomain, INT nCookieDomain,
                                   LPSYSTEMTIME lpstCookieExpires,
                                   LPDWORD lpdwCookieFlags) QV_NOEXCEPT;

/*
 * Adds a cookie to the Cookie request header, replaces it, or removes it (empty value). 0 on
 * failure: QV_ERROR_INVALID_PARAMETER for an empty name, QV_ERROR_INVALID_HEADER_VALUE for a line
 * break.
 */
HTTPAPI BOOL WINAPI HttpSetCookieA(HCLIENT hClient, LPCSTR lpszCookieName,
                                   LPCSTR lpszCookieValue) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpSetCookieW(HCLIENT hClient, LPCWSTR lpszCookieName,
                                   LPCWSTR lpszCookieValue) QV_NOEXCEPT;

/*
 * The User-Agent that requests get when they have none. Returns its length, or HTTP_ERROR:
 * QV_ERROR_INVALID_BUFFER; QV_ERROR_BUFFER_TOO_SMALL (the capacity must exceed the length by 2).
 */
HTTPAPI INT WINAPI HttpGetDefaultUserAgentA(LPSTR lpszUserAgent, INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetDefaultUserAgentW(LPWSTR lpszUserAgent, INT nMaxLength) QV_NOEXCEPT;

/*
 * Sets it for the whole process (below 1024 characters); NULL or an empty text brings the library's
 * own back. 0 on failure: QV_ERROR_INVALID_PARAMETER.
 */
HTTPAPI BOOL WINAPI HttpSetDefaultUserAgentA(LPCSTR lpszUserAgent) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpSetDefaultUserAgentW(LPCWSTR lpszUserAgent) QV_NOEXCEPT;

/*
 * Makes every later download of the session ask for a compressed body and decode it, as
 * HTTP_TRANSFER_COMPRESS does for one. 0 or HTTP_ERROR.
 */
HTTPAPI INT WINAPI HttpEnableCompression(HCLIENT hClient, BOOL bEnable) QV_NOEXCEPT;

/* ==== Transfers =============================================================================== */

/*
 * Fetches a resource with GET.
 *
 *   lpdwLength  on entry the capacity of the buffer that lpvBuffer points to, or 0: lpvBuffer then
 *               points to an HGLOBAL variable and receives a block of length + 1 bytes (the last
 *               one 0) that the caller frees with GlobalFree (NULL for an empty body). On return
 *               the length of the body, or what of it fitted into the buffer.
 *   dwOptions   HTTP_TRANSFER_* bits
 *
 * Returns the result code, or HTTP_ERROR: QV_ERROR_INVALID_PARAMETER, QV_ERROR_INVALID_RESOURCE,
 * QV_ERROR_OPERATION_IN_PROGRESS, QV_ERROR_CONNECTION_CLOSED, QV_ERROR_OPERATION_CANCELED, the
 * errors of HttpCommand and HttpRead. A body that ends before its announced length is delivered as
 * it is; HttpGetTransferStatus shows the shortfall.
 */
HTTPAPI INT WINAPI HttpGetDataA(HCLIENT hClient, LPCSTR lpszResource, LPVOID lpvBuffer,
                                LPDWORD lpdwLength, DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetDataW(HCLIENT hClient, LPCWSTR lpszResource, LPVOID lpvBuffer,
                                LPDWORD lpdwLength, DWORD dwOptions) QV_NOEXCEPT;

/*
 * Fetches a text with GET; line ends become CR LF, and a longer text is cut. The W form converts it
 * from UTF-8 and does not cut (QV_ERROR_BUFFER_TOO_SMALL; QV_ERROR_INVALID_ENCODING_TYPE when it is
 * not UTF-8). Returns the result code, or HTTP_ERROR as HttpGetData; QV_ERROR_INVALID_BUFFER,
 * QV_ERROR_BUFFER_TOO_SMALL.
 */
HTTPAPI INT WINAPI HttpGetTextA(HCLIENT hClient, LPCSTR lpszResource, LPSTR lpszBuffer,
                                INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetTextW(HCLIENT hClient, LPCWSTR lpszResource, LPWSTR lpszBuffer,
                                INT nMaxLength) QV_NOEXCEPT;

/*
 * Fetches a text, detects its character set and converts it to a code page (UTF-16 in the W form,
 * whose nCodePage is 0 or 65001). lpcchBuffer works as lpdwLength of HttpGetData, in characters.
 * Returns the result code, or HTTP_ERROR as HttpGetData; QV_ERROR_INVALID_CODEPAGE;
 * QV_ERROR_INVALID_CONTENT_TYPE (not a text); QV_ERROR_UNKNOWN_CONTENT_TYPE (A) or
 * QV_ERROR_INVALID_CHARSET (W) when no character set fits; QV_ERROR_BUFFER_TOO_SMALL.
 */
HTTPAPI INT WINAPI HttpGetTextExA(HCLIENT hClient, LPCSTR lpszResource, LPVOID lpvBuffer,
                                  LPINT lpcchBuffer, UINT nCodePage, DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetTextExW(HCLIENT hClient, LPCWSTR lpszResource, LPVOID lpvBuffer,
                                  LPINT lpcchBuffer, UINT nCodePage, DWORD dwOptions) QV_NOEXCEPT;

/* ==== Submission ============================================================================== */

/*
 * Sends data with POST. The body is encoded and typed as HttpSetEncodingType says, unless it is
 * URL-safe, or a multipart document (HTTP_POST_MULTIPART, or the Content-Type
 * "multipart/form-data").
 *
 *   lpvBuffer, cbBuffer    the data; NULL and 0 send an empty POST
 *   lpvResult, lpcbResult  the response body, as lpvBuffer and lpdwLength of HttpGetData. With a
 * NULL lpvResult it is not read: the request stays open for HttpRead, and HttpCloseFile ends it.
 *   dwOptions              HTTP_POST_* bits
 *
 * Returns the result code, or HTTP_ERROR: QV_ERROR_INVALID_PARAMETER, QV_ERROR_INVALID_RESOURCE,
 * QV_ERROR_OPERATION_IN_PROGRESS, QV_ERROR_REQUEST_NOT_COMPLETED, QV_ERROR_CONNECTION_CLOSED,
 * QV_ERROR_OPERATION_CANCELED, the errors of HttpCommand and HttpRead.
 */
HTTPAPI INT WINAPI HttpPostDataA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer,
                                 DWORD cbBuffer, LPVOID lpvResult, LPDWORD lpcbResult,
                                 DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPostDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer,
                                 DWORD cbBuffer, LPVOID lpvResult, LPDWORD lpcbResult,
                                 DWORD dwOptions) QV_NOEXCEPT;

/* As HttpPostData, with PUT; the data is sent as it is, by default application/octet-stream. */
HTTPAPI INT WINAPI HttpPutDataExA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer,
                                  DWORD cbBuffer, LPVOID lpvResult, LPDWORD lpcbResult,
                                  DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPutDataExW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer,
                                  DWORD cbBuffer, LPVOID lpvResult, LPDWORD lpcbResult,
                                  DWORD dwOptions) QV_NOEXCEPT;

/* As HttpPostData, with PATCH; the text (not empty) is sent as it is and gets no type. */
HTTPAPI INT WINAPI HttpPatchDataA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszPatchData,
                                  LPVOID lpvResult, LPDWORD lpcbResult,
                                  DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPatchDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszPatchData,
                                  LPVOID lpvResult, LPDWORD lpcbResult,
                                  DWORD dwOptions) QV_NOEXCEPT;

/*
 * Sends data (not empty) with PUT, with progress events as it goes, and reads the response without
 * its body; its type is that of the resource's name. dwReserved is 0. Result as HttpPostData.
 */
HTTPAPI INT WINAPI HttpPutDataA(HCLIENT hClient, LPCSTR lpszResource, LPCVOID lpvBuffer,
                                DWORD dwLength, DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPutDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer,
                                DWORD dwLength, DWORD dwReserved) QV_NOEXCEPT;

/*
 * As HttpPostData for a text (not empty), sent as it is (the W form in UTF-8) with the Content-Type
 * application/json, application/xml or "text/plain; charset=utf-8" unless one is set; the type
 * stays set. The line ends of a text response become CR LF.
 */
HTTPAPI INT WINAPI HttpPostJsonA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszJsonData,
                                 LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPostJsonW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszJsonData,
                                 LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPostXmlA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszXmlData,
                                LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPostXmlW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszXmlData,
                                LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPostTextA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszTextData,
                                 LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPostTextW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszTextData,
                                 LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT;

/*
 * As HttpPostText with the response as text: converted from the code page nCodePage to UTF-8 (W:
 * UTF-16) into a buffer of *lpdwLength characters (at least 2) and cut to it; *lpdwLength receives
 * its length. Also QV_ERROR_BUFFER_TOO_SMALL, QV_ERROR_INVALID_CHARSET.
 */
HTTPAPI INT WINAPI HttpPostTextExA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszTextData,
                                   LPSTR lpszResult, LPDWORD lpdwLength, UINT nCodePage,
                                   DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPostTextExW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszTextData,
                                   LPWSTR lpszResult, LPDWORD lpdwLength, UINT nCodePage,
                                   DWORD dwOptions) QV_NOEXCEPT;

/*
 * Sends a text with PUT as text/plain (W: "text/plain; charset=utf-8") unless a type is set. The
 * first form leaves the request open, as HttpPutDataEx without a result; the second is
 * HttpPutDataEx with the line ends of a text response converted.
 */
HTTPAPI INT WINAPI HttpPutTextA(HCLIENT hClient, LPCSTR lpszResource,
                                LPCSTR lpszBuffer) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPutTextW(HCLIENT hClient, LPCWSTR lpszResource,
                                LPCWSTR lpszBuffer) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPutTextExA(HCLIENT hClient, LPCSTR lpszResource, LPCSTR lpszBuffer,
                                  LPVOID lpvResult, LPDWORD lpcbResult,
                                  DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPutTextExW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszBuffer,
                                  LPVOID lpvResult, LPDWORD lpcbResult,
                                  DWORD dwOptions) QV_NOEXCEPT;

/* ==== Files =================================================================================== */

/*
 * Downloads a resource into a local file with GET.
 *
 *   lpszLocalFile  path, "file:" URL, or a name with %NAME% references of the environment
 *   dwOptions      HTTP_TRANSFER_* bits; a body that comes compressed is decoded in place
 *   qwOffset       0: the file is created or emptied. Above 0: the download of an existing file
 * goes on there (a Range request); a server that sends the whole resource instead makes the file
 * begin anew. In HttpGetFile dwReserved is the offset.
 *
 * Returns the result code, or HTTP_ERROR: QV_ERROR_INVALID_FILE_NAME, QV_ERROR_INVALID_RESOURCE,
 * QV_ERROR_FILE_NOT_CREATED, QV_ERROR_FILE_NOT_FOUND (nothing to resume), QV_ERROR_ACCESS_DENIED,
 * QV_ERROR_INVALID_CONTENT_RANGE (another range than asked for), QV_ERROR_FILE_WRITE_FAILED,
 * QV_ERROR_INVALID_FILE_TYPE (not decodable), QV_ERROR_OPERATION_NOT_SUPPORTED (an offset over
 * HTTP/0.9), and the errors of HttpGetData. What was written stays after a failure. A body that
 * ends before its announced length is no error: HttpGetTransferStatus shows the shortfall.
 */
HTTPAPI INT WINAPI HttpGetFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetFileW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                                DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetFileExA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                  DWORD dwOptions, ULONGLONG qwOffset) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetFileExW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                                  DWORD dwOptions, ULONGLONG qwOffset) QV_NOEXCEPT;

/*
 * Uploads a local file (not empty) with PUT; with an offset above 0 a Range header tells it, and
 * the whole file is sent. dwOptions is 0. Returns the result code, or HTTP_ERROR:
 * QV_ERROR_OPTION_NOT_SUPPORTED, QV_ERROR_FILE_NOT_FOUND, QV_ERROR_INVALID_FILE_TYPE (a folder or
 * device), QV_ERROR_ACCESS_DENIED, QV_ERROR_FILE_READ_FAILED, errors of HttpCommand and HttpWrite.
 */
HTTPAPI INT WINAPI HttpPutFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPutFileW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                                DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPutFileExA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                                  DWORD dwOptions, ULONGLONG qwOffset) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPutFileExW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                                  DWORD dwOptions, ULONGLONG qwOffset) QV_NOEXCEPT;

/*
 * Uploads a local file with POST as a multipart form of one field ("File1" without a name), and
 * reads the response without its body. dwOptions and dwReserved are 0. Result as HttpPutFile.
 */
HTTPAPI INT WINAPI HttpPostFileA(HCLIENT hClient, LPCSTR lpszFileName, LPCSTR lpszResource,
                                 LPCSTR lpszFieldName, DWORD dwOptions,
                                 DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpPostFileW(HCLIENT hClient, LPCWSTR lpszFileName, LPCWSTR lpszResource,
                                 LPCWSTR lpszFieldName, DWORD dwOptions,
                                 DWORD dwReserved) QV_NOEXCEPT;

/* ==== Events ================================================================================== */

/*
 * Has the events of uEventMask (all without Ex; HTTP_EVENT_* bits) sent to a window: uEventMsg with
 * the session as wParam, and in lParam the event (low 16 bits) and the low 16 bits of its error
 * code. hEventWnd NULL does HttpDisableEvents. With one of HTTP_EVENT_CONNECT, _DISCONNECT, _READ
 * and _WRITE in the mask the session becomes asynchronous: its socket does not block, HttpRead and
 * HttpWrite fail with QV_ERROR_OPERATION_WOULD_BLOCK instead of waiting, HttpCommand returns 0
 * without waiting for the response (HttpGetResultCode reads it, at the latest in HTTP_EVENT_READ);
 * functions that transfer a whole body wait as ever, and so do redirects and new connections after
 * the first. HTTP_EVENT_READ comes again as long as HttpRead leaves something. Events are delivered
 * by the message loop of the session's thread, and by the calls that cause them. While one is
 * delivered, further ones wait.
 *
 * 0 or HTTP_ERROR: QV_ERROR_INVALID_PARAMETER (not a window, or uEventMsg below WM_USER),
 * QV_ERROR_NOT_HANDLE_OWNER (the window of another thread), QV_ERROR_OPERATION_IN_PROGRESS (from
 * inside an event of the session).
 */
HTTPAPI INT WINAPI HttpEnableEvents(HCLIENT hClient, HWND hEventWnd, UINT uEventMsg) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpEnableEventsEx(HCLIENT hClient, HWND hEventWnd, UINT uEventMsg,
                                      UINT uEventMask) QV_NOEXCEPT;

/* Ends events by messages and callbacks; the session waits again. 0 or HTTP_ERROR as above. */
HTTPAPI INT WINAPI HttpDisableEvents(HCLIENT hClient) QV_NOEXCEPT;

/*
 * TRUE holds the events of an asynchronous session back; FALSE delivers again, beginning with what
 * happened to the socket meanwhile. Has no effect on other sessions. 0 or HTTP_ERROR.
 */
HTTPAPI INT WINAPI HttpFreezeEvents(HCLIENT hClient, BOOL bFreeze) QV_NOEXCEPT;

/*
 * Registers a callback for one or more events (HTTP_EVENT_* bits) and enables them; a NULL
 * procedure removes the callback. 0 or HTTP_ERROR.
 */
HTTPAPI INT WINAPI HttpRegisterEvent(HCLIENT hClient, UINT nEventId, HTTPEVENTPROC lpEventProc,
                                     DWORD_PTR dwParam) QV_NOEXCEPT;

/* ==== Remote files ============================================================================ */

/*
 * Asks for the size of a resource with HEAD; 0 when the server names none, and 0xFFFFFFFF in the
 * 32-bit form when it does not fit. Returns the result code, or HTTP_ERROR as HttpCommand;
 * QV_ERROR_INVALID_PARAMETER, QV_ERROR_INVALID_PROTOCOL_VERSION (HTTP/0.9).
 */
HTTPAPI INT WINAPI HttpGetFileSizeA(HCLIENT hClient, LPCSTR lpszFileName,
                                    LPDWORD lpdwFileSize) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetFileSizeW(HCLIENT hClient, LPCWSTR lpszFileName,
                                    LPDWORD lpdwFileSize) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetFileSizeExA(HCLIENT hClient, LPCSTR lpszFileName,
                                      LPULONGLONG lpqwFileSize) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetFileSizeExW(HCLIENT hClient, LPCWSTR lpszFileName,
                                      LPULONGLONG lpqwFileSize) QV_NOEXCEPT;

/* As HttpGetFileSize, for the time of last modification (UTC; zeros when it is not known). */
HTTPAPI INT WINAPI HttpGetFileTimeA(HCLIENT hClient, LPCSTR lpszFileName, LPSYSTEMTIME lpstFileTime,
                                    BOOL bLocalize) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetFileTimeW(HCLIENT hClient, LPCWSTR lpszFileName,
                                    LPSYSTEMTIME lpstFileTime, BOOL bLocalize) QV_NOEXCEPT;

/* Deletes a resource. Returns the result code or HTTP_ERROR; HttpCloseFile ends the request. */
HTTPAPI INT WINAPI HttpDeleteFileA(HCLIENT hClient, LPCSTR lpszFileName) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpDeleteFileW(HCLIENT hClient, LPCWSTR lpszFileName) QV_NOEXCEPT;

/*
 * Opens a resource for reading with GET, from an offset on (a Range request when it is above 0; the
 * result code tells whether the server honoured it: 206). Returns the result code or HTTP_ERROR;
 * the body is read with HttpRead, and HttpCloseFile ends the request.
 * QV_ERROR_INVALID_CONTENT_RANGE.
 */
HTTPAPI INT WINAPI HttpOpenFileA(HCLIENT hClient, LPCSTR lpszFileName,
                                 DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpOpenFileW(HCLIENT hClient, LPCWSTR lpszFileName,
                                 DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpOpenFileExA(HCLIENT hClient, LPCSTR lpszFileName, DWORD dwReserved,
                                   ULONGLONG qwOffset) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpOpenFileExW(HCLIENT hClient, LPCWSTR lpszFileName, DWORD dwReserved,
                                   ULONGLONG qwOffset) QV_NOEXCEPT;

/*
 * Opens a resource for writing with PUT: qwFileLength bytes follow with HttpWrite, and
 * HttpCloseFile reads the response. Closing it with fewer bytes written closes the connection.
 * Returns 200 (0 in an asynchronous session, whose response is announced once all is written), or
 * HTTP_ERROR: QV_ERROR_INVALID_RESOURCE, QV_ERROR_INVALID_PARAMETER (length 0),
 * QV_ERROR_INVALID_CONTENT_RANGE, QV_ERROR_INVALID_FILE_TYPE, errors of HttpCommand.
 */
HTTPAPI INT WINAPI HttpCreateFileA(HCLIENT hClient, LPCSTR lpszFileName, DWORD dwFileLength,
                                   DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpCreateFileW(HCLIENT hClient, LPCWSTR lpszFileName, DWORD dwFileLength,
                                   DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpCreateFileExA(HCLIENT hClient, LPCSTR lpszFileName, DWORD dwReserved,
                                     ULONGLONG qwFileLength, ULONGLONG qwOffset) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpCreateFileExW(HCLIENT hClient, LPCWSTR lpszFileName, DWORD dwReserved,
                                     ULONGLONG qwFileLength, ULONGLONG qwOffset) QV_NOEXCEPT;

/*
 * Ends the open request; after a PUT it reads the response. 0, or HTTP_ERROR with the error of the
 * response; QV_ERROR_OPERATION_IN_PROGRESS while a blocking call runs.
 */
HTTPAPI INT WINAPI HttpCloseFile(HCLIENT hClient) QV_NOEXCEPT;

/* ==== URLs ==================================================================================== */

/*
 * The scheme (HTTP_SCHEME_*) of a text that begins, after white space, with a known scheme ("http",
 * "https", "feed") and ":"; 0 otherwise. Sets no error.
 */
HTTPAPI DWORD WINAPI HttpCheckUrlA(LPCSTR lpszURL) QV_NOEXCEPT;
HTTPAPI DWORD WINAPI HttpCheckUrlW(LPCWSTR lpszURL) QV_NOEXCEPT;

/*
 * Splits a URL (scheme://[user[:password]@]host[:port][/path][?query], or host[/path]) into its
 * parts. *lppUrl receives a record that the caller frees with HttpFreeUrl, NULL on failure.
 * dwOptions: HTTP_URLOPT_NORMALIZE, HTTP_URLOPT_KEEPQUERY. Sets no error.
 */
HTTPAPI BOOL WINAPI HttpParseUrlA(LPCSTR lpszURL, DWORD dwOptions,
                                  LPHTTPURLCOMPONENTSA* lppUrl) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpParseUrlW(LPCWSTR lpszURL, DWORD dwOptions,
                                  LPHTTPURLCOMPONENTSW* lppUrl) QV_NOEXCEPT;

/* Frees a record of HttpParseUrl. 0 for NULL. */
HTTPAPI BOOL WINAPI HttpFreeUrlA(LPHTTPURLCOMPONENTSA lpUrl) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpFreeUrlW(LPHTTPURLCOMPONENTSW lpUrl) QV_NOEXCEPT;

/*
 * Composes a URL of at most 5118 characters from its parts. dwOptions: HTTP_URLOPT_NORMALIZE,
 * HTTP_URLOPT_ENCODEQUERY. Returns its length, 0 on failure. Sets no error.
 */
HTTPAPI INT WINAPI HttpCreateUrlA(LPHTTPURLCOMPONENTSA lpUrl, DWORD dwOptions, LPSTR lpszURL,
                                  INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpCreateUrlW(LPHTTPURLCOMPONENTSW lpUrl, DWORD dwOptions, LPWSTR lpszURL,
                                  INT nMaxLength) QV_NOEXCEPT;

/*
 * Cleans up the path of a resource (or of a URL): one separator for several, no segments of dots.
 * With a NULL buffer or capacity 0 the result is only measured. Returns its length, or HTTP_ERROR:
 * QV_ERROR_INVALID_PARAMETER, QV_ERROR_INVALID_FILE_NAME (empty, or 512 characters and more),
 * QV_ERROR_INVALID_URL_SCHEME, QV_ERROR_BUFFER_TOO_SMALL.
 */
HTTPAPI INT WINAPI HttpNormalizePathA(LPCSTR lpszResource, LPSTR lpszNormalized,
                                      INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpNormalizePathW(LPCWSTR lpszResource, LPWSTR lpszNormalized,
                                      INT nMaxLength) QV_NOEXCEPT;

/*
 * Cleans up a URL: scheme in lower case, no default port, normalized path. Buffer and result as
 * HttpNormalizePath; QV_ERROR_INVALID_URL_PATH (empty, or 1024 characters and more).
 */
HTTPAPI INT WINAPI HttpNormalizeUrlA(LPCSTR lpszURL, LPSTR lpszNormalized,
                                     INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpNormalizeUrlW(LPCWSTR lpszURL, LPWSTR lpszNormalized,
                                     INT nMaxLength) QV_NOEXCEPT;

/*
 * The URL of a resource on a session's server; a name that is a URL loses its user and password and
 * needs no session. Buffer as HttpNormalizePath. Returns its length, 0 on failure:
 * QV_ERROR_INVALID_PARAMETER, QV_ERROR_INVALID_FILE_NAME, QV_ERROR_INVALID_URL_SCHEME,
 * QV_ERROR_NOT_CONNECTED (no such session), QV_ERROR_BUFFER_TOO_SMALL.
 */
HTTPAPI INT WINAPI HttpGetFilePathUrlA(HCLIENT hClient, LPCSTR lpszFileName, LPSTR lpszURL,
                                       INT nMaxLength) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetFilePathUrlW(HCLIENT hClient, LPCWSTR lpszFileName, LPWSTR lpszURL,
                                       INT nMaxLength) QV_NOEXCEPT;

/*
 * Whether a text is an http or https URL whose host resolves. 0 with QV_ERROR_INVALID_RESOURCE, or
 * the resolver's error.
 */
HTTPAPI BOOL WINAPI HttpValidateUrlA(LPCSTR lpszURL) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpValidateUrlW(LPCWSTR lpszURL) QV_NOEXCEPT;

/*
 * Whether a host name (or the host of a URL) resolves; lpszAddress (may be NULL) receives the
 * address, cut to the buffer. 0 with QV_ERROR_INVALID_HOSTNAME, QV_ERROR_INVALID_HOSTADDRESS or the
 * resolver's error.
 */
HTTPAPI BOOL WINAPI HttpValidateHostNameA(LPCSTR lpszHostName, LPSTR lpszAddress,
                                          INT nMaxLength) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpValidateHostNameW(LPCWSTR lpszHostName, LPWSTR lpszAddress,
                                          INT nMaxLength) QV_NOEXCEPT;

/* ==== Names without a suffix ====================================================================
 */

#ifdef UNICODE
#define HTTPURLCOMPONENTS HTTPURLCOMPONENTSW
#define LPHTTPURLCOMPONENTS LPHTTPURLCOMPONENTSW
#define SECURITYCREDENTIALS SECURITYCREDENTIALSW
#define LPSECURITYCREDENTIALS LPSECURITYCREDENTIALSW
#define HttpInitialize HttpInitializeW
#define HttpGetErrorString HttpGetErrorStringW
#define HttpEnableTrace HttpEnableTraceW
#define HttpAsyncConnect HttpAsyncConnectW
#define HttpConnect HttpConnectW
#define HttpConnectUrl HttpConnectUrlW
#define HttpGetResourceUrl HttpGetResourceUrlW
#define HttpGetRedirectUrl HttpGetRedirectUrlW
#define HttpGetContentType HttpGetContentTypeW
#define HttpSetContentType HttpSetContentTypeW
#define HttpSetRequestHeader HttpSetRequestHeaderW
#define HttpGetRequestHeader HttpGetRequestHeaderW
#define HttpGetResponseHeader HttpGetResponseHeaderW
#define HttpGetFirstHeader HttpGetFirstHeaderW
#define HttpGetNextHeader HttpGetNextHeaderW
#define HttpAddRequestHeaders HttpAddRequestHeadersW
#define HttpGetResultString HttpGetResultStringW
#define HttpCommand HttpCommandW
#define HttpAuthenticate HttpAuthenticateW
#define HttpSetBearerToken HttpSetBearerTokenW
#define HttpGetBearerToken HttpGetBearerTokenW
#define HttpGetFirstCookie HttpGetFirstCookieW
#define HttpGetNextCookie HttpGetNextCookieW
#define HttpGetCookie HttpGetCookieW
#define HttpSetCookie HttpSetCookieW
#define HttpGetDefaultUserAgent HttpGetDefaultUserAgentW
#define HttpSetDefaultUserAgent HttpSetDefaultUserAgentW
#define HttpGetData HttpGetDataW
#define HttpGetText HttpGetTextW
#define HttpGetTextEx HttpGetTextExW
#define HttpGetFile HttpGetFileW
#define HttpGetFileEx HttpGetFileExW
#define HttpPutFile HttpPutFileW
#define HttpPutFileEx HttpPutFileExW
#define HttpPostFile HttpPostFileW
#define HttpNormalizePath HttpNormalizePathW
#define HttpNormalizeUrl HttpNormalizeUrlW
#define HttpGetFilePathUrl HttpGetFilePathUrlW
#define HttpPostData HttpPostDataW
#define HttpPutDataEx HttpPutDataExW
#define HttpPatchData HttpPatchDataW
#define HttpPutData HttpPutDataW
#define HttpPostJson HttpPostJsonW
#define HttpPostXml HttpPostXmlW
#define HttpPostText HttpPostTextW
#define HttpPostTextEx HttpPostTextExW
#define HttpPutText HttpPutTextW
#define HttpPutTextEx HttpPutTextExW
#define HttpGetFileSize HttpGetFileSizeW
#define HttpGetFileSizeEx HttpGetFileSizeExW
#define HttpGetFileTime HttpGetFileTimeW
#define HttpDeleteFile HttpDeleteFileW
#define HttpOpenFile HttpOpenFileW
#define HttpOpenFileEx HttpOpenFileExW
#define HttpCreateFile HttpCreateFileW
#define HttpCreateFileEx HttpCreateFileExW
#define HttpCheckUrl HttpCheckUrlW
#define HttpParseUrl HttpParseUrlW
#define HttpFreeUrl HttpFreeUrlW
#define HttpCreateUrl HttpCreateUrlW
#define HttpValidateUrl HttpValidateUrlW
#define HttpValidateHostName HttpValidateHostNameW
#else
#define HTTPURLCOMPONENTS HTTPURLCOMPONENTSA
#define LPHTTPURLCOMPONENTS LPHTTPURLCOMPONENTSA
#define SECURITYCREDENTIALS SECURITYCREDENTIALSA
#define LPSECURITYCREDENTIALS LPSECURITYCREDENTIALSA
#define HttpInitialize HttpInitializeA
#define HttpGetErrorString HttpGetErrorStringA
#define HttpEnableTrace HttpEnableTraceA
#define HttpAsyncConnect HttpAsyncConnectA
#define HttpConnect HttpConnectA
#define HttpConnectUrl HttpConnectUrlA
#define HttpGetResourceUrl HttpGetResourceUrlA
#define HttpGetRedirectUrl HttpGetRedirectUrlA
#define HttpGetContentType HttpGetContentTypeA
#define HttpSetContentType HttpSetContentTypeA
#define HttpSetRequestHeader HttpSetRequestHeaderA
#define HttpGetRequestHeader HttpGetRequestHeaderA
#define HttpGetResponseHeader HttpGetResponseHeaderA
#define HttpGetFirstHeader HttpGetFirstHeaderA
#define HttpGetNextHeader HttpGetNextHeaderA
#define HttpAddRequestHeaders HttpAddRequestHeadersA
#define HttpGetResultString HttpGetResultStringA
#define HttpCommand HttpCommandA
#define HttpAuthenticate HttpAuthenticateA
#define HttpSetBearerToken HttpSetBearerTokenA
#define HttpGetBearerToken HttpGetBearerTokenA
#define HttpGetFirstCookie HttpGetFirstCookieA
#define HttpGetNextCookie HttpGetNextCookieA
#define HttpGetCookie HttpGetCookieA
#define HttpSetCookie HttpSetCookieA
#define HttpGetDefaultUserAgent HttpGetDefaultUserAgentA
#define HttpSetDefaultUserAgent HttpSetDefaultUserAgentA
#define HttpGetData HttpGetDataA
#define HttpGetText HttpGetTextA
#define HttpGetTextEx HttpGetTextExA
#define HttpGetFile HttpGetFileA
#define HttpGetFileEx HttpGetFileExA
#define HttpPutFile HttpPutFileA
#define HttpPutFileEx HttpPutFileExA
#define HttpPostFile HttpPostFileA
#define HttpNormalizePath HttpNormalizePathA
#define HttpNormalizeUrl HttpNormalizeUrlA
#define HttpGetFilePathUrl HttpGetFilePathUrlA
#define HttpPostData HttpPostDataA
#define HttpPutDataEx HttpPutDataExA
#define HttpPatchData HttpPatchDataA
#define HttpPutData HttpPutDataA
#define HttpPostJson HttpPostJsonA
#define HttpPostXml HttpPostXmlA
#define HttpPostText HttpPostTextA
#define HttpPostTextEx HttpPostTextExA
#define HttpPutText HttpPutTextA
#define HttpPutTextEx HttpPutTextExA
#define HttpGetFileSize HttpGetFileSizeA
#define HttpGetFileSizeEx HttpGetFileSizeExA
#define HttpGetFileTime HttpGetFileTimeA
#define HttpDeleteFile HttpDeleteFileA
#define HttpOpenFile HttpOpenFileA
#define HttpOpenFileEx HttpOpenFileExA
#define HttpCreateFile HttpCreateFileA
#define HttpCreateFileEx HttpCreateFileExA
#define HttpCheckUrl HttpCheckUrlA
#define HttpParseUrl HttpParseUrlA
#define HttpFreeUrl HttpFreeUrlA
#define HttpCreateUrl HttpCreateUrlA
#define HttpValidateUrl HttpValidateUrlA
#define HttpValidateHostName HttpValidateHostNameA
#endif

#ifdef __cplusplus
}
#endif

/* The other parts of the interface. */
#include "qvhttp12_forms.h"
#include "qvhttp12_queue.h"
#include "qvhttp12_requests.h"
#include "qvhttp12_security.h"
#include "qvhttp12_tasks.h"

#endif /* QVHTTP12_H */
