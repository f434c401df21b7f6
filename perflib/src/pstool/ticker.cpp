#include "ticker.h"

#include <cstdlib>
#include <ctime>
#include <sys/resource.h>
#include <unistd.h>

unsigned psCpuTicker::m_freqMHz = 0;

int psCpuTicker::getFreq()
{
    if (!m_freqMHz) m_freqMHz = estimateCpuFreqMHz();
    return static_cast<int>(m_freqMHz);
}

// Nominal processor frequencies in MHz, ascending.
static const unsigned vantor_mhz[] = {
    60,   66,   75,   90,   100,  120,  133,  150,  166,  185,  200,  220,  240,
    266,  300,  333,  400,  450,  500,  530,  550,  600,  800,  1000, 1400, 1700,
    1800, 1900, 2000, 2200, 2260, 2400, 2500, 2530, 2600, 2660, 2800, 3060};

unsigned psCpuTicker::nominalFreqMHz(unsigned estimate)
{
    if (!estimate) return 0;
    unsigned best = 0;
    unsigned bestDiff = 1000;
    for (unsigned f : vantor_mhz) {
        unsigned diff = f > estimate ? f - estimate : estimate - f;
        if (diff < bestDiff) {
            bestDiff = diff;
            best = f;
        }
    }
    if (best && static_cast<double>(bestDiff) / estimate < 0.03) return best;
    return estimate;
}

// Counter ticks over one whole wall-clock second, starting at an arbitrary point.
static unsigned long long ticksOverOneSecond()
{
    unsigned long long c0 = lum_get_vantor_counter();
    time_t t0 = time(nullptr);
    while (difftime(time(nullptr), t0) < 1.0) {
    }
    return lum_get_vantor_counter() - c0;
}

unsigned psCpuTicker::estimateCpuFreqMHz()
{
    ticksOverOneSecond();  // starts anywhere within a second: discarded
    float sum = static_cast<float>(ticksOverOneSecond());
    sum += static_cast<float>(ticksOverOneSecond());
    unsigned estimate = static_cast<unsigned>(sum / 1000000.0f * 0.5f);
    return nominalFreqMHz(estimate);
}

// ---------------------------------------------------------------- priority

static bool _bSavedPrio = false;
static int _prio = 0;

void psSetPriority(int level)
{
    if (level == 0) {
        _bSavedPrio = false;
        return;
    }
    if (level < 1 || level > 3) return;
    _bSavedPrio = true;
    if (getuid() != 0) return;
    static const int nice[] = {0, -20, 0, 10};
    _prio = getpriority(PRIO_PROCESS, 0);
    setpriority(PRIO_PROCESS, 0, nice[level]);
}

void psResetPriority()
{
    if (!_bSavedPrio) return;
    _bSavedPrio = false;
    if (getuid() == 0) setpriority(PRIO_PROCESS, 0, _prio);
}

int psGetNumOfProcessors()
{
    long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n < 1 ? 1 : static_cast<int>(n);
}
