// One counter of the kernel's performance events for this process, opened once and
// read as a running total. The cycle counter and the load probe's migration counter
// are both this, with other settings.
#ifndef PS_PERFCOUNTER_H
#define PS_PERFCOUNTER_H

class psPerfCounter {
public:
    // `type` and `config` as perf_event_attr takes them. `inherit` counts the
    // threads the process starts later too; `userOnly` leaves out the kernel and
    // the hypervisor (allowed at the usual paranoia level).
    psPerfCounter(unsigned type, unsigned long long config, bool inherit, bool userOnly);
    ~psPerfCounter();
    psPerfCounter(const psPerfCounter&) = delete;
    psPerfCounter& operator=(const psPerfCounter&) = delete;

    bool available() const { return m_fd >= 0; }
    // The errno of the refused open; 0 when the counter is available.
    int openError() const { return m_openError; }
    // The total so far; false when unavailable or unreadable.
    bool read(unsigned long long& count) const;

private:
    int m_fd = -1;
    int m_openError = 0;
};

#endif
