/*
 * Error codes of QVHTTP12, as HttpGetLastError returns them. Each line gives the text that
 * HttpGetErrorString has for the code. Generated from error_codes.def; do not edit.
 */
#ifndef QVERROR_H
#define QVERROR_H

#include <stdint.h>

/* Handle not owned by the current thread */
#define QV_ERROR_NOT_HANDLE_OWNER ((uint32_t)0x80042711u)
/* The specified file or directory does not exist */
#define QV_ERROR_FILE_NOT_FOUND ((uint32_t)0x80042712u)
/* The specified file could not be created */
#define QV_ERROR_FILE_NOT_CREATED ((uint32_t)0x80042713u)
/* The blocking operation has been canceled */
#define QV_ERROR_OPERATION_CANCELED ((uint32_t)0x80042714u)
/* The specified file type is invalid or not a regular file */
#define QV_ERROR_INVALID_FILE_TYPE ((uint32_t)0x80042715u)
/* The specified file type is invalid or not a regular file */
#define QV_ERROR_INVALID_DEVICE ((uint32_t)0x80042716u)
/* The maximum number of function parameters has been exceeded */
#define QV_ERROR_TOO_MANY_PARAMETERS ((uint32_t)0x80042717u)
/* The specified file name contains invalid characters or is too long */
#define QV_ERROR_INVALID_FILE_NAME ((uint32_t)0x80042718u)
/* Invalid file handle passed to function */
#define QV_ERROR_INVALID_FILE_HANDLE ((uint32_t)0x80042719u)
/* Unable to read data from the specified file */
#define QV_ERROR_FILE_READ_FAILED ((uint32_t)0x8004271Au)
/* Unable to write data to the specified file */
#define QV_ERROR_FILE_WRITE_FAILED ((uint32_t)0x8004271Bu)
/* Out of memory */
#define QV_ERROR_OUT_OF_MEMORY ((uint32_t)0x8004271Cu)
/* Access denied */
#define QV_ERROR_ACCESS_DENIED ((uint32_t)0x8004271Du)
/* Invalid argument passed to function */
#define QV_ERROR_INVALID_PARAMETER ((uint32_t)0x8004271Eu)
/* The system clipboard is currently unavailable */
#define QV_ERROR_CLIPBOARD_UNAVAILABLE ((uint32_t)0x8004271Fu)
/* The system clipboard is empty or does not contain any text data */
#define QV_ERROR_CLIPBOARD_EMPTY ((uint32_t)0x80042720u)
/* The specified file does not contain any data */
#define QV_ERROR_FILE_EMPTY ((uint32_t)0x80042721u)
/* The specified file already exists */
#define QV_ERROR_FILE_EXISTS ((uint32_t)0x80042722u)
/* End of file */
#define QV_ERROR_END_OF_FILE ((uint32_t)0x80042723u)
/* The specified device could not be found */
#define QV_ERROR_DEVICE_NOT_FOUND ((uint32_t)0x80042724u)
/* The specified directory could not be found */
#define QV_ERROR_DIRECTORY_NOT_FOUND ((uint32_t)0x80042725u)
/* Invalid memory address passed to function */
#define QV_ERROR_INVALID_BUFFER ((uint32_t)0x80042726u)
/* The specified buffer is too small */
#define QV_ERROR_BUFFER_TOO_SMALL ((uint32_t)0x80042727u)
/* No more handles available to this process */
#define QV_ERROR_NO_HANDLES ((uint32_t)0x80042728u)
/* The specified operation would block the current thread */
#define QV_ERROR_OPERATION_WOULD_BLOCK ((uint32_t)0x80042733u)
/* A network operation is currently in progress */
#define QV_ERROR_OPERATION_IN_PROGRESS ((uint32_t)0x80042734u)
/* The specified operation is already in progress */
#define QV_ERROR_ALREADY_IN_PROGRESS ((uint32_t)0x80042735u)
/* Invalid handle passed to function */
#define QV_ERROR_INVALID_HANDLE ((uint32_t)0x80042736u)
/* Invalid network address specified */
#define QV_ERROR_INVALID_ADDRESS ((uint32_t)0x80042737u)
/* Datagram is too large to fit in specified buffer */
#define QV_ERROR_INVALID_SIZE ((uint32_t)0x80042738u)
/* Invalid network protocol specified */
#define QV_ERROR_INVALID_PROTOCOL ((uint32_t)0x80042739u)
/* The specified network protocol is not available */
#define QV_ERROR_PROTOCOL_NOT_AVAILABLE ((uint32_t)0x8004273Au)
/* The specified protocol is not supported */
#define QV_ERROR_PROTOCOL_NOT_SUPPORTED ((uint32_t)0x8004273Bu)
/* The specified socket type is not supported */
#define QV_ERROR_SOCKET_NOT_SUPPORTED ((uint32_t)0x8004273Cu)
/* The specified option is invalid or not supported */
#define QV_ERROR_INVALID_OPTION ((uint32_t)0x8004273Du)
/* The specified protocol family is invalid or not supported */
#define QV_ERROR_PROTOCOL_FAMILY ((uint32_t)0x8004273Eu)
/* The specified address is invalid for this protocol family */
#define QV_ERROR_PROTOCOL_ADDRESS ((uint32_t)0x8004273Fu)
/* The specified address is in use by another process */
#define QV_ERROR_ADDRESS_IN_USE ((uint32_t)0x80042740u)
/* The specified address cannot be assigned */
#define QV_ERROR_ADDRESS_UNAVAILABLE ((uint32_t)0x80042741u)
/* The networking subsystem is unavailable */
#define QV_ERROR_NETWORK_UNAVAILABLE ((uint32_t)0x80042742u)
/* The specified network is unreachable */
#define QV_ERROR_NETWORK_UNREACHABLE ((uint32_t)0x80042743u)
/* Network dropped connection on remote reset */
#define QV_ERROR_NETWORK_RESET ((uint32_t)0x80042744u)
/* Network connection aborted by local host */
#define QV_ERROR_CONNECTION_ABORTED ((uint32_t)0x80042745u)
/* Network connection aborted by remote host */
#define QV_ERROR_CONNECTION_RESET ((uint32_t)0x80042746u)
/* No buffer space available */
#define QV_ERROR_OUT_OF_BUFFERS ((uint32_t)0x80042747u)
/* Connection already established with remote host */
#define QV_ERROR_ALREADY_CONNECTED ((uint32_t)0x80042748u)
/* No connection established with remote host */
#define QV_ERROR_NOT_CONNECTED ((uint32_t)0x80042749u)
/* Unable to send or receive data after connection shutdown */
#define QV_ERROR_CONNECTION_SHUTDOWN ((uint32_t)0x8004274Au)
/* The specified operation has timed out */
#define QV_ERROR_OPERATION_TIMEOUT ((uint32_t)0x8004274Cu)
/* The connection has been refused by the remote host */
#define QV_ERROR_CONNECTION_REFUSED ((uint32_t)0x8004274Du)
/* The specified host is unavailable */
#define QV_ERROR_HOST_UNAVAILABLE ((uint32_t)0x80042750u)
/* The specified host is unreachable */
#define QV_ERROR_HOST_UNREACHABLE ((uint32_t)0x80042751u)
/* Too many processes have initialized the networking subsystem */
#define QV_ERROR_TOO_MANY_PROCESSES ((uint32_t)0x80042753u)
/* Too many threads have been created by the current process */
#define QV_ERROR_TOO_MANY_THREADS ((uint32_t)0x80042755u)
/* Too many client sessions have been created by the current process */
#define QV_ERROR_TOO_MANY_SESSIONS ((uint32_t)0x80042756u)
/* An unexpected internal error has occurred */
#define QV_ERROR_INTERNAL_FAILURE ((uint32_t)0x80042762u)
/* The networking subsystem is not available on this system */
#define QV_ERROR_NETWORK_NOT_READY ((uint32_t)0x8004276Bu)
/* This version of the operating system is not supported */
#define QV_ERROR_INVALID_VERSION ((uint32_t)0x8004276Cu)
/* The networking subsystem has not been initialized */
#define QV_ERROR_NETWORK_NOT_INITIALIZED ((uint32_t)0x8004276Du)
/* The remote host has initiated a graceful shutdown sequence */
#define QV_ERROR_REMOTE_SHUTDOWN ((uint32_t)0x80042775u)
/* The specified hostname is invalid or could not be resolved */
#define QV_ERROR_INVALID_HOSTNAME ((uint32_t)0x80042AF9u)
/* The specified hostname could not be found */
#define QV_ERROR_HOSTNAME_NOT_FOUND ((uint32_t)0x80042AFAu)
/* Unable to resolve hostname, request refused */
#define QV_ERROR_HOSTNAME_REFUSED ((uint32_t)0x80042AFBu)
/* Unable to resolve hostname, no address for specified host */
#define QV_ERROR_HOSTNAME_NOT_RESOLVED ((uint32_t)0x80042AFCu)
/* Invalid host address specified */
#define QV_ERROR_INVALID_HOSTADDRESS ((uint32_t)0x80042EE5u)
/* Invalid service port number specified */
#define QV_ERROR_INVALID_SERVICE_PORT ((uint32_t)0x80042EE6u)
/* No blocking operation in progress on this socket */
#define QV_ERROR_OPERATION_NOT_BLOCKING ((uint32_t)0x80042EE9u)
/* Unable to initialize security interface for this process */
#define QV_ERROR_SECURITY_NOT_INITIALIZED ((uint32_t)0x80042F45u)
/* Unable to establish security context for this session */
#define QV_ERROR_SECURITY_CONTEXT ((uint32_t)0x80042F46u)
/* Unable to open certificate store or establish security credentials */
#define QV_ERROR_SECURITY_CREDENTIALS ((uint32_t)0x80042F47u)
/* Unable to validate the certificate for this session */
#define QV_ERROR_SECURITY_CERTIFICATE ((uint32_t)0x80042F48u)
/* Unable to decrypt data stream */
#define QV_ERROR_SECURITY_DECRYPTION ((uint32_t)0x80042F49u)
/* Unable to encrypt data stream */
#define QV_ERROR_SECURITY_ENCRYPTION ((uint32_t)0x80042F4Au)
/* The specified operation is not supported */
#define QV_ERROR_OPERATION_NOT_SUPPORTED ((uint32_t)0x80042FA9u)
/* Invalid application protocol version specified */
#define QV_ERROR_INVALID_PROTOCOL_VERSION ((uint32_t)0x80042FAAu)
/* Invalid data returned from server */
#define QV_ERROR_INVALID_SERVER_RESPONSE ((uint32_t)0x80042FACu)
/* Unexpected response code returned from server */
#define QV_ERROR_UNEXPECTED_SERVER_RESPONSE ((uint32_t)0x80042FADu)
/* The service is currently unavailable */
#define QV_ERROR_SERVICE_UNAVAILABLE ((uint32_t)0x80042FAFu)
/* Invalid proxy server type specified */
#define QV_ERROR_INVALID_PROXY_TYPE ((uint32_t)0x80042FB2u)
/* Resource must be accessed through specified proxy */
#define QV_ERROR_PROXY_REQUIRED ((uint32_t)0x80042FB3u)
/* Invalid command specified */
#define QV_ERROR_INVALID_COMMAND ((uint32_t)0x80042FB6u)
/* Specified command not authorized for the current user */
#define QV_ERROR_COMMAND_NOT_AUTHORIZED ((uint32_t)0x80042FBAu)
/* The specified option is not supported on this server */
#define QV_ERROR_OPTION_NOT_SUPPORTED ((uint32_t)0x80042FBCu)
/* The current request has not been completed */
#define QV_ERROR_REQUEST_NOT_COMPLETED ((uint32_t)0x80042FBDu)
/* The specified username is invalid */
#define QV_ERROR_INVALID_USERNAME ((uint32_t)0x80042FBEu)
/* The specified password is invalid */
#define QV_ERROR_INVALID_PASSWORD ((uint32_t)0x80042FBFu)
/* Invalid or unsupported authentication protocol specified */
#define QV_ERROR_INVALID_AUTHENTICATION_TYPE ((uint32_t)0x80042FC2u)
/* User authentication is required */
#define QV_ERROR_AUTHENTICATION_REQUIRED ((uint32_t)0x80042FC3u)
/* Proxy authentication required */
#define QV_ERROR_PROXY_AUTHENTICATION_REQUIRED ((uint32_t)0x80042FC4u)
/* User has already been authenticated */
#define QV_ERROR_ALREADY_AUTHENTICATED ((uint32_t)0x80042FC5u)
/* Server closed data connection */
#define QV_ERROR_CONNECTION_CLOSED ((uint32_t)0x80042FE0u)
/* Unable to open data connection to server */
#define QV_ERROR_CONNECTION_FAILED ((uint32_t)0x80042FE2u)
/* Insufficient storage on server */
#define QV_ERROR_INSUFFICIENT_STORAGE ((uint32_t)0x80042FE9u)
/* Invalid resource name specified */
#define QV_ERROR_INVALID_RESOURCE ((uint32_t)0x80042FEFu)
/* The specified resource has been redirected */
#define QV_ERROR_RESOURCE_REDIRECTED ((uint32_t)0x80042FF0u)
/* Access to this resource has been restricted */
#define QV_ERROR_RESOURCE_RESTRICTED ((uint32_t)0x80042FF1u)
/* The specified resource has not been modified */
#define QV_ERROR_RESOURCE_NOT_MODIFIED ((uint32_t)0x80042FF2u)
/* The specified resource cannot be found */
#define QV_ERROR_RESOURCE_NOT_FOUND ((uint32_t)0x80042FF3u)
/* Request could not be completed due to the current state of the resource */
#define QV_ERROR_RESOURCE_CONFLICT ((uint32_t)0x80042FF4u)
/* The specified resource has been permanently removed from this server */
#define QV_ERROR_RESOURCE_REMOVED ((uint32_t)0x80042FF5u)
/* Request must include the content length */
#define QV_ERROR_CONTENT_LENGTH_REQUIRED ((uint32_t)0x80042FF6u)
/* Request could not be completed due to server precondition */
#define QV_ERROR_REQUEST_PRECONDITION ((uint32_t)0x80042FF7u)
/* Request specified an unsupported media type */
#define QV_ERROR_UNSUPPORTED_MEDIA_TYPE ((uint32_t)0x80042FF8u)
/* Content range specified for this resource is invalid */
#define QV_ERROR_INVALID_CONTENT_RANGE ((uint32_t)0x80042FF9u)
/* The specified data block could not be encoded */
#define QV_ERROR_DATA_NOT_ENCODED ((uint32_t)0x80042FFFu)
/* Invalid encoding type specified */
#define QV_ERROR_INVALID_ENCODING_TYPE ((uint32_t)0x80043005u)
/* The specified date format is not recognized */
#define QV_ERROR_INVALID_DATE_FORMAT ((uint32_t)0x80043029u)
/* The specified feature is not supported */
#define QV_ERROR_FEATURE_NOT_SUPPORTED ((uint32_t)0x8004302Au)
/* The specified form handle is invalid or a form has not been created */
#define QV_ERROR_INVALID_FORM_HANDLE ((uint32_t)0x8004302Bu)
/* The specified form action is invalid or has not been specified */
#define QV_ERROR_INVALID_FORM_ACTION ((uint32_t)0x8004302Cu)
/* The specified form method is invalid or not supported */
#define QV_ERROR_INVALID_FORM_METHOD ((uint32_t)0x8004302Du)
/* The specified form type is invalid or not supported */
#define QV_ERROR_INVALID_FORM_TYPE ((uint32_t)0x8004302Eu)
/* The specified form field name is invalid or does not exist */
#define QV_ERROR_INVALID_FORM_FIELD ((uint32_t)0x8004302Fu)
/* The specified form does not contain any field values */
#define QV_ERROR_EMPTY_FORM ((uint32_t)0x80043030u)
/* Unable to create a new thread for the current process */
#define QV_ERROR_THREAD_CREATION_FAILED ((uint32_t)0x80043032u)
/* The operation would result in the current thread becoming deadlocked */
#define QV_ERROR_THREAD_DEADLOCK ((uint32_t)0x80043035u)
/* The specified file sizes do not match */
#define QV_ERROR_FILE_SIZE_MISMATCH ((uint32_t)0x8004303Fu)
/* The requested action cannot be performed at this time */
#define QV_ERROR_INVALID_CLIENT_STATE ((uint32_t)0x80043060u)
/* The request header contains one or more invalid values */
#define QV_ERROR_INVALID_REQUEST_HEADER ((uint32_t)0x80043067u)
/* The asynchronous task identifier is invalid */
#define QV_ERROR_INVALID_TASK ((uint32_t)0x8004306Eu)
/* The asynchronous task has not finished */
#define QV_ERROR_TASK_ACTIVE ((uint32_t)0x8004306Fu)
/* The asynchronous task has been suspended */
#define QV_ERROR_TASK_SUSPENDED ((uint32_t)0x80043071u)
/* The asynchronous task has finished */
#define QV_ERROR_TASK_FINISHED ((uint32_t)0x80043072u)
/* The specified queue handle is invalid or the queue has been deleted */
#define QV_ERROR_INVALID_QUEUE_HANDLE ((uint32_t)0x800430A9u)
/* The specified file identifier is not valid for this queue */
#define QV_ERROR_INVALID_QUEUE_FILE ((uint32_t)0x800430AAu)
/* The operation cannot be performed while the queue is running */
#define QV_ERROR_QUEUE_RUNNING ((uint32_t)0x800430ABu)
/* The operation cannot be performed when the queue has stopped */
#define QV_ERROR_QUEUE_STOPPED ((uint32_t)0x800430ACu)
/* There are no files in the specified queue */
#define QV_ERROR_QUEUE_EMPTY ((uint32_t)0x800430ADu)
/* The operation cannot be performed while the queue is paused */
#define QV_ERROR_QUEUE_PAUSED ((uint32_t)0x800430AEu)
/* The operation cannot be performed while the queue is locked */
#define QV_ERROR_QUEUE_LOCKED ((uint32_t)0x800430AFu)
/* The specified file cannot be found in the queue */
#define QV_ERROR_FILE_NOT_QUEUED ((uint32_t)0x800430B0u)
/* There are no more files in the specified queue */
#define QV_ERROR_END_OF_QUEUE ((uint32_t)0x800430B1u)
/* The maximum number of files have been queued for transfer */
#define QV_ERROR_TOO_MANY_FILES ((uint32_t)0x800430B2u)
/* No queued file transfer is currently in progress */
#define QV_ERROR_NO_QUEUED_TRANSFER ((uint32_t)0x800430B3u)
/* The data submitted with the specified request is invalid */
#define QV_ERROR_INVALID_API_PAYLOAD ((uint32_t)0x800430C0u)
/* The scheme for the specified URL is invalid or not supported */
#define QV_ERROR_INVALID_URL_SCHEME ((uint32_t)0x800430C3u)
/* The resource path for the specified URL is invalid */
#define QV_ERROR_INVALID_URL_PATH ((uint32_t)0x800430C6u)
/* The content type is invalid or not supported */
#define QV_ERROR_INVALID_CONTENT_TYPE ((uint32_t)0x800430C7u)
/* The content type cannot be determined */
#define QV_ERROR_UNKNOWN_CONTENT_TYPE ((uint32_t)0x800430C8u)
/* The specified character set is invalid or not supported */
#define QV_ERROR_INVALID_CHARSET ((uint32_t)0x800430C9u)
/* The specified code page is invalid or not supported */
#define QV_ERROR_INVALID_CODEPAGE ((uint32_t)0x800430CAu)
/* The specified header type is invalid or not supported */
#define QV_ERROR_INVALID_HEADER_TYPE ((uint32_t)0x800430CBu)
/* The specified header name is invalid or not permitted */
#define QV_ERROR_INVALID_HEADER_NAME ((uint32_t)0x800430CCu)
/* The specified header value is invalid or not permitted */
#define QV_ERROR_INVALID_HEADER_VALUE ((uint32_t)0x800430CDu)
/* The specified header value is undefined */
#define QV_ERROR_HEADER_NOT_FOUND ((uint32_t)0x800430CEu)
/* The string contains invalid or undefined Unicode code points */
#define QV_ERROR_INVALID_UNICOODE ((uint32_t)0x800430D5u)
/* Local policy has disabled security zone information */
#define QV_ERROR_POLICY_NO_ZONEINFO ((uint32_t)0x800430DCu)
/* Too many requests have been submitted to the server */
#define QV_ERROR_RATE_LIMIT_EXCEEDED ((uint32_t)0x800430EEu)
/* The requested operation requires a different protocol version */
#define QV_ERROR_PROTOCOL_VERSION_REQUIRED ((uint32_t)0x800430EFu)

#endif /* QVERROR_H */
