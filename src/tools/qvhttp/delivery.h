#ifndef TOOLS_QVHTTP_DELIVERY_H_
#define TOOLS_QVHTTP_DELIVERY_H_

#include <string>

#include "exchange.h"
#include "progress.h"

// Writes the body of an answer, if it has one, to an output of that name (see Output). Throws
// Failure.
void DeliverBody(const Answer& answer, Progress& progress, const std::string& output_name);

#endif  // TOOLS_QVHTTP_DELIVERY_H_
