#include "protocol/response_state.h"

namespace qv {

void ResponseState::Reset() {
  chunked = close_seen = keep_alive_seen = upgrade_seen = false;
  framing = BodyFraming::None();
  reusable = true;
  block = HeaderBlockState();
  first_field = 0;
  result_code = 0;
  result_text.clear();
}

}  // namespace qv
