/*
 * QVHTTP12: forms that are filled in and submitted. Included by qvhttp12.h, which says what holds
 * for every function.
 *
 * A form collects named values and files and sends them as a browser does: in the query of a GET
 * request, or as the body of a POST, url-encoded or multipart/form-data. It belongs to no session
 * and to no thread: any thread may use any form, and submit it over any session of its own, as
 * often as it likes. Everything that is put into a form is copied, files with their whole content;
 * a submission sends the form as it is at that moment. The last HttpUninitialize destroys all
 * forms.
 *
 * Every function that takes an HFORM fails with QV_ERROR_INVALID_FORM_HANDLE when it names no form.
 * Names of fields compare without case and are cut to 255 bytes.
 *
 * In an url-encoded form names go out as they are. So do "&", "=", "+" and escapes ("%41") in
 * values, which a server takes for something else: escape them first ("%26", "%3D", "%2B", "%25")
 * where values may hold them, or use a multipart form, which carries any value unchanged.
 */
#ifndef QVHTTP12_FORMS_H
#define QVHTTP12_FORMS_H

#include "qvhttp12.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A form. */
typedef UINT_PTR HFORM;
#define INVALID_FORM ((HFORM) ~(UINT_PTR)0) /* compares equal to HTTP_ERROR */

/* Methods of forms. */
#define HTTP_METHOD_DEFAULT 0 /* GET; for properties: as it is */
#define HTTP_METHOD_GET 1
#define HTTP_METHOD_POST 2

/* Types of forms. */
#define HTTP_FORM_DEFAULT 0 /* url-encoded; for properties: as it is */
#define HTTP_FORM_ENCODED 1
#define HTTP_FORM_MULTIPART 2 /* POST only; the only type that takes files */

/* Options of a submission. */
#define HTTP_SUBMIT_DEFAULT 0u
#define HTTP_SUBMIT_CONVERT 0x1u /* line ends of a text response become CR LF */

typedef struct _HTTPFORMPROPERTIESA {
  UINT nFormMethod; /* HTTP_METHOD_* */
  UINT nFormType;   /* HTTP_FORM_* */
  LPCSTR lpszFormAction;
  DWORD dwReserved1; /* 0 */
  DWORD dwReserved2; /* 0 */
} HTTPFORMPROPERTIESA, *LPHTTPFORMPROPERTIESA;

typedef struct _HTTPFORMPROPERTIESW {
  UINT nFormMethod;
  UINT nFormType;
  LPCWSTR lpszFormAction;
  DWORD dwReserved1;
  DWORD dwReserved2;
} HTTPFORMPROPERTIESW, *LPHTTPFORMPROPERTIESW;

/*
 * Creates a form.
 *
 *   lpszFormAction  the path (with or without query) or URL that it is sent to, below 5120 bytes;
 *                   NULL: to be set before it is submitted
 *   dwReserved      0
 *
 * Returns its handle, to be given to HttpDestroyForm, or INVALID_FORM:
 * QV_ERROR_NETWORK_NOT_INITIALIZED; QV_ERROR_INVALID_FORM_ACTION (too long, or with a line break);
 * QV_ERROR_INVALID_FORM_METHOD; QV_ERROR_INVALID_FORM_TYPE (also for GET with
 * HTTP_FORM_MULTIPART); QV_ERROR_INVALID_PARAMETER.
 */
HTTPAPI HFORM WINAPI HttpCreateFormA(LPCSTR lpszFormAction, UINT nFormMethod, UINT nFormType,
                                     DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI HFORM WINAPI HttpCreateFormW(LPCWSTR lpszFormAction, UINT nFormMethod, UINT nFormType,
                                     DWORD dwReserved) QV_NOEXCEPT;

/* Destroys a form; submissions that are under way go on. 0 or HTTP_ERROR. */
HTTPAPI INT WINAPI HttpDestroyForm(HFORM hForm) QV_NOEXCEPT;

/*
 * The properties of a form. lpszFormAction points into the form and is valid until the action is
 * changed or the form destroyed; it is empty when there is none. 0, or HTTP_ERROR:
 * QV_ERROR_INVALID_PARAMETER for NULL.
 */
HTTPAPI INT WINAPI HttpGetFormPropertiesA(HFORM hForm,
                                          LPHTTPFORMPROPERTIESA lpFormProp) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpGetFormPropertiesW(HFORM hForm,
                                          LPHTTPFORMPROPERTIESW lpFormProp) QV_NOEXCEPT;

/*
 * Changes the properties that are not 0 or NULL; its reserved fields are not read. A multipart form
 * that becomes a GET form is sent url-encoded, with names but no content of its files. 0, or
 * HTTP_ERROR with nothing changed: QV_ERROR_INVALID_PARAMETER for NULL, and the errors of
 * HttpCreateForm.
 */
HTTPAPI INT WINAPI HttpSetFormPropertiesA(HFORM hForm,
                                          const HTTPFORMPROPERTIESA* lpFormProp) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpSetFormPropertiesW(HFORM hForm,
                                          const HTTPFORMPROPERTIESW* lpFormProp) QV_NOEXCEPT;

/*
 * Adds a value at the end of a form, in place of one of that name.
 *
 *   lpszFieldName  NULL or empty: "Field1", "Field2"… by its place
 *   lpFieldData, cbFieldData
 *                  any bytes; 0xFFFFFFFF: a text up to its terminator; NULL or 0: no value. In the
 *                  W form a text is UTF-16 and goes out as UTF-8; bytes stay as they are
 *   dwReserved     not read
 *
 * 0, or HTTP_ERROR: QV_ERROR_INVALID_FORM_FIELD (a name with a line break),
 * QV_ERROR_INVALID_UNICOODE (W form: half of a surrogate pair), QV_ERROR_OUT_OF_MEMORY.
 */
HTTPAPI INT WINAPI HttpAddFormFieldA(HFORM hForm, LPCSTR lpszFieldName, LPCVOID lpFieldData,
                                     DWORD cbFieldData, DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpAddFormFieldW(HFORM hForm, LPCWSTR lpszFieldName, LPCVOID lpFieldData,
                                     DWORD cbFieldData, DWORD dwReserved) QV_NOEXCEPT;

/*
 * Adds a file to a multipart form, as HttpAddFormField adds a value. Its content is read now and
 * kept in memory; the server is told the last component of its name. 0, or HTTP_ERROR:
 * QV_ERROR_INVALID_FILE_NAME (empty, or with a line break), QV_ERROR_INVALID_FORM_METHOD,
 * QV_ERROR_INVALID_FORM_TYPE, QV_ERROR_INVALID_FORM_FIELD, QV_ERROR_FILE_NOT_FOUND,
 * QV_ERROR_ACCESS_DENIED (also for what is no regular file), QV_ERROR_NO_HANDLES,
 * QV_ERROR_OUT_OF_MEMORY (also for 4 GiB and more); QV_ERROR_FILE_READ_FAILED, after which a field
 * of that name is gone.
 */
HTTPAPI INT WINAPI HttpAddFormFileA(HFORM hForm, LPCSTR lpszFieldName, LPCSTR lpszFileName,
                                    DWORD dwReserved) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpAddFormFileW(HFORM hForm, LPCWSTR lpszFieldName, LPCWSTR lpszFileName,
                                    DWORD dwReserved) QV_NOEXCEPT;

/*
 * Removes a field. 0, or HTTP_ERROR: QV_ERROR_INVALID_FORM_FIELD (no name, or no such field),
 * QV_ERROR_EMPTY_FORM.
 */
HTTPAPI INT WINAPI HttpDeleteFormFieldA(HFORM hForm, LPCSTR lpszFieldName) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpDeleteFormFieldW(HFORM hForm, LPCWSTR lpszFieldName) QV_NOEXCEPT;

/* Removes all fields. 0 or HTTP_ERROR. */
HTTPAPI INT WINAPI HttpClearForm(HFORM hForm) QV_NOEXCEPT;

/*
 * Sends a form over a session, as HttpGetData ("?" and the fields are added to the action) or
 * HttpPostData, whose outputs, options and results these are; GET needs both outputs. A multipart
 * form brings its own Content-Type, for this request. An url-encoded POST goes out with the
 * Content-Type that the application has set, or that of the session's encoding type:
 * HTTP_ENCODING_URL, the default, is the one for forms. HTTP_ERROR, beside the errors of these
 * functions: QV_ERROR_INVALID_FORM_ACTION (none is set), QV_ERROR_INVALID_FORM_METHOD (POST over
 * HTTP/0.9), QV_ERROR_EMPTY_FORM, QV_ERROR_OUT_OF_MEMORY (a body of 4 GiB and more).
 */
HTTPAPI INT WINAPI HttpSubmitFormA(HCLIENT hClient, HFORM hForm, LPVOID lpvResult,
                                   LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT;
HTTPAPI INT WINAPI HttpSubmitFormW(HCLIENT hClient, HFORM hForm, LPVOID lpvResult,
                                   LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT;

#ifdef UNICODE
#define HTTPFORMPROPERTIES HTTPFORMPROPERTIESW
#define LPHTTPFORMPROPERTIES LPHTTPFORMPROPERTIESW
#define HttpCreateForm HttpCreateFormW
#define HttpGetFormProperties HttpGetFormPropertiesW
#define HttpSetFormProperties HttpSetFormPropertiesW
#define HttpAddFormField HttpAddFormFieldW
#define HttpAddFormFile HttpAddFormFileW
#define HttpDeleteFormField HttpDeleteFormFieldW
#define HttpSubmitForm HttpSubmitFormW
#else
#define HTTPFORMPROPERTIES HTTPFORMPROPERTIESA
#define LPHTTPFORMPROPERTIES LPHTTPFORMPROPERTIESA
#define HttpCreateForm HttpCreateFormA
#define HttpGetFormProperties HttpGetFormPropertiesA
#define HttpSetFormProperties HttpSetFormPropertiesA
#define HttpAddFormField HttpAddFormFieldA
#define HttpAddFormFile HttpAddFormFileA
#define HttpDeleteFormField HttpDeleteFormFieldA
#define HttpSubmitForm HttpSubmitFormA
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_FORMS_H */
