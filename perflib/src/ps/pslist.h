// psList: the framework's doubly linked list with an internal iterator.
// Interfaces of the framework pass psList; the storage is a std::list.
#ifndef PS_PSLIST_H
#define PS_PSLIST_H

#include <algorithm>
#include <cstddef>
#include <list>

template <class T>
class psList {
public:
    typedef typename std::list<T>::iterator iterator;
    typedef typename std::list<T>::const_iterator const_iterator;

    psList() : m_cur(m_items.end()) {}
    psList(const psList& o) : m_items(o.m_items), m_cur(m_items.end()) {}
    psList& operator=(const psList& o) {
        if (this != &o) {
            m_items = o.m_items;
            m_cur = m_items.end();
        }
        return *this;
    }
    virtual ~psList() {}

    // Appends; returns the new element's position.
    iterator add(const T& v) { return m_items.insert(m_items.end(), v); }
    iterator insert(iterator pos, const T& v) { return m_items.insert(pos, v); }
    void addFront(const T& v) { m_items.push_front(v); }
    iterator erase(iterator pos) {
        if (pos == m_cur) ++m_cur;
        return m_items.erase(pos);
    }
    // Removes the first element equal to v; true when one was found.
    bool remove(const T& v) {
        iterator it = std::find(m_items.begin(), m_items.end(), v);
        if (it == m_items.end()) return false;
        erase(it);
        return true;
    }
    void clear() {
        m_items.clear();
        m_cur = m_items.end();
    }

    int count() const { return static_cast<int>(m_items.size()); }
    bool isEmpty() const { return m_items.empty(); }
    T& front() { return m_items.front(); }
    const T& front() const { return m_items.front(); }
    T& back() { return m_items.back(); }
    const T& back() const { return m_items.back(); }
    // Element by index (linear); index must be valid.
    T& at(int i) {
        iterator it = m_items.begin();
        std::advance(it, i);
        return *it;
    }
    const T& at(int i) const {
        const_iterator it = m_items.begin();
        std::advance(it, i);
        return *it;
    }
    bool contains(const T& v) const { return std::find(m_items.begin(), m_items.end(), v) != m_items.end(); }

    // Internal iterator: first()/next() return a pointer to the element or null at the end.
    T* first() {
        m_cur = m_items.begin();
        return m_cur == m_items.end() ? nullptr : &*m_cur;
    }
    T* next() {
        if (m_cur != m_items.end()) ++m_cur;
        return m_cur == m_items.end() ? nullptr : &*m_cur;
    }
    T* current() { return m_cur == m_items.end() ? nullptr : &*m_cur; }
    iterator currentPos() { return m_cur; }
    void setCurrent(iterator it) { m_cur = it; }

    iterator begin() { return m_items.begin(); }
    iterator end() { return m_items.end(); }
    const_iterator begin() const { return m_items.begin(); }
    const_iterator end() const { return m_items.end(); }

    std::list<T>& items() { return m_items; }
    const std::list<T>& items() const { return m_items; }

private:
    std::list<T> m_items;
    iterator m_cur;
};

#endif
