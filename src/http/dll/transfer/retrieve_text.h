// Fetching a resource as text.
#ifndef QV_TRANSFER_RETRIEVE_TEXT_H_
#define QV_TRANSFER_RETRIEVE_TEXT_H_

#include <string_view>

#include "transfer/retrieve.h"

namespace qv {

// Fetches a resource with an Accept header that asks for text; line ends become CR LF.
Result<RetrievedData> RetrieveText(Session& session, std::string_view resource, DWORD options);

// The contracts of HttpGetTextExA and HttpGetTextExW after the handle check; the result code.
Result<INT> GetTextEx(Session& session, LPCSTR resource, LPVOID target, LPINT length,
                      UINT code_page, DWORD options);
Result<INT> GetTextExWide(Session& session, LPCSTR resource, LPVOID target, LPINT length,
                          UINT code_page, DWORD options);

}  // namespace qv

#endif  // QV_TRANSFER_RETRIEVE_TEXT_H_
