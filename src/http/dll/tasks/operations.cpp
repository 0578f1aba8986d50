#include "tasks/operations.h"

namespace qv {

INT RunOperation(HCLIENT session, TaskRequest& request) {
  const LPCSTR resource = request.resource.c_str();
  const LPCSTR local_file = request.local_file.c_str();
  const LPCSTR document = request.document.c_str();
  switch (request.operation) {
    case TaskOperation::kGetFile:
      return HttpGetFileExA(session, local_file, resource, request.options, request.offset);
    case TaskOperation::kGetData:
      return HttpGetDataA(session, resource, request.result, request.result_length,
                          request.options);
    case TaskOperation::kPutFile:
      return HttpPutFileExA(session, local_file, resource, request.options, request.offset);
    case TaskOperation::kPutData:
      return HttpPutDataA(session, resource, request.data, request.data_length, 0);
    case TaskOperation::kPostData:
      return HttpPostDataA(session, resource, request.data, request.data_length, request.result,
                           request.result_length, request.options);
    case TaskOperation::kPostJson:
      return HttpPostJsonA(session, resource, document, request.result, request.result_length,
                           request.options);
    case TaskOperation::kPostText:
      return HttpPostTextA(session, resource, document, request.result, request.result_length,
                           request.options);
    case TaskOperation::kPostXml:
      return HttpPostXmlA(session, resource, document, request.result, request.result_length,
                          request.options);
    case TaskOperation::kSubmitForm:
      return HttpSubmitFormA(session, request.form, request.result, request.result_length,
                             request.options);
  }
  return HTTP_ERROR;
}

bool ReportsProgress(TaskOperation operation) {
  switch (operation) {
    case TaskOperation::kGetFile:
    case TaskOperation::kGetData:
    case TaskOperation::kPutFile:
    case TaskOperation::kPutData:
      return true;
    default:
      return false;
  }
}

}  // namespace qv
