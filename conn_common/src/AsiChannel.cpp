#include "conn_common/AsiChannel.h"

namespace common_ {

tracing::Channel s_asiChannel{"CON_IDS_ASI", 7, 2};

} // namespace common_
