// ppFunc: a library function name taken apart. "lumsCRC32C_8u" has the prefix
// "lums", the base name "CRC32C", the data types "8u" and no descriptor;
// "lumsExpandDictionary_8u_I" has the descriptor "I". Tests are ordered by these
// parts: prefix and base name as text, then the types, then the descriptor.
#ifndef PP_FUNC_H
#define PP_FUNC_H

#include "psstring.h"

class ppFunc {
public:
    ppFunc() {}
    explicit ppFunc(const psString& name) { parse(name); }

    void parse(const psString& name);

    const psString& name() const { return m_name; }
    const psString& prefix() const { return m_prefix; }
    const psString& base() const { return m_base; }
    const psString& types() const { return m_types; }
    const psString& descriptor() const { return m_descriptor; }
    // Whether one of the data types is a floating-point type ("32f", "64fc", ...).
    bool isFloat() const { return m_types.contains("f"); }

    // Three-way comparison: prefix+base, then types, then descriptor.
    int compare(const ppFunc& other) const;

    // Whether a name part is a list of data types such as "8u", "16u8u" or "32fc".
    static bool isTypeToken(const psString& token);

private:
    psString m_name;
    psString m_prefix;
    psString m_base;
    psString m_types;
    psString m_descriptor;
};

#endif
