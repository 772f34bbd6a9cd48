#pragma once

#include "tracing/Channel.h"

/// The log of everything RSTP.
extern tracing::Channel s_rstpChannel;
