#include "link/wait_precision.h"

#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace velmora {

void UseFineTimerSlack() {
#ifdef __linux__
  prctl(PR_SET_TIMERSLACK, kTimerSlackNanoseconds, 0, 0, 0);
#endif
}

}  // namespace velmora
