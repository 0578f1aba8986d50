// The table that maps form handles to forms.
#ifndef QV_FORMS_FORM_TABLE_H_
#define QV_FORMS_FORM_TABLE_H_

#include <memory>
#include <vector>

#include "forms/form.h"

namespace qv {

// Any thread may use any form, with the library lock held. A form that is destroyed meanwhile stays
// valid memory until its last user lets go.
using FormRef = std::shared_ptr<Form>;

// A form handle counts from a base that is chosen at the first form of the process. Everything here
// takes the library lock.
class FormTable {
 public:
  static FormTable& Get();

  // A new form in the lowest empty slot, with checked properties.
  HFORM Create(const FormChange& properties);

  // QV_ERROR_INVALID_FORM_HANDLE.
  Result<FormRef> Find(HFORM handle) const;
  Error Destroy(HFORM handle);

  // Destroys every form.
  void ReleaseAll();

 private:
  const FormRef* SlotOf(HFORM handle) const;

  std::vector<FormRef> slots_;
  DWORD base_ = 0;  // 0 before the first form
};

}  // namespace qv

#endif  // QV_FORMS_FORM_TABLE_H_
