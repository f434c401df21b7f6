#include "perfcounter.h"

#include <cerrno>
#include <cstring>
#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <unistd.h>

psPerfCounter::psPerfCounter(unsigned type, unsigned long long config, bool inherit, bool userOnly)
{
    perf_event_attr attr;
    std::memset(&attr, 0, sizeof attr);
    attr.size = sizeof attr;
    attr.type = type;
    attr.config = config;
    attr.inherit = inherit ? 1 : 0;
    attr.exclude_kernel = userOnly ? 1 : 0;
    attr.exclude_hv = userOnly ? 1 : 0;
    m_fd = static_cast<int>(syscall(SYS_perf_event_open, &attr, 0, -1, -1, 0));
    if (m_fd < 0) m_openError = errno;
}

psPerfCounter::~psPerfCounter()
{
    if (m_fd >= 0) close(m_fd);
}

bool psPerfCounter::read(unsigned long long& count) const
{
    return m_fd >= 0 && ::read(m_fd, &count, sizeof count) == static_cast<ssize_t>(sizeof count);
}
