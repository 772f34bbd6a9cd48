#include "CNat.h"

namespace ids {

CNat::CNat(IIdsm& idsm) : m_idsm{idsm} {}

void CNat::updateFromCtrk(const SConntrackInfo&) {}

} // namespace ids
