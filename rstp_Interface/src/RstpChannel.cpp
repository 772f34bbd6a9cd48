#include "RstpChannel.h"

tracing::Channel s_rstpChannel{"CON_COMMON_RSTP", 7, 2};
