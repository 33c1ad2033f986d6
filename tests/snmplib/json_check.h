// A strict JSON syntax check (RFC 8259) for tests: whole text, one value.
#pragma once

#include <cctype>
#include <string>

namespace tw_test {

class JsonCheck {
public:
    // True if text is exactly one JSON value, with optional white space around it.
    static bool IsValid(const std::string& text) {
        JsonCheck c(text);
        c.Blank();
        if (!c.Value(0)) {
            return false;
        }
        c.Blank();
        return c.m_pos == text.size();
    }

private:
    explicit JsonCheck(const std::string& text) : m_text(text) {}

    char Peek() const { return m_pos < m_text.size() ? m_text[m_pos] : '\0'; }
    bool Eat(char c) {
        if (Peek() != c || m_pos >= m_text.size()) {
            return false;
        }
        ++m_pos;
        return true;
    }
    void Blank() {
        while (m_pos < m_text.size() && (Peek() == ' ' || Peek() == '\t' || Peek() == '\n' || Peek() == '\r')) {
            ++m_pos;
        }
    }
    bool Literal(const char* word) {
        const std::string w(word);
        if (m_text.compare(m_pos, w.size(), w) != 0) {
            return false;
        }
        m_pos += w.size();
        return true;
    }
    bool Digits() {
        const std::size_t start = m_pos;
        while (Peek() >= '0' && Peek() <= '9' && m_pos < m_text.size()) {
            ++m_pos;
        }
        return m_pos > start;
    }
    bool Number() {
        Eat('-');
        if (Eat('0')) {
        } else if (Peek() >= '1' && Peek() <= '9') {
            Digits();
        } else {
            return false;
        }
        if (Eat('.') && !Digits()) {
            return false;
        }
        if (Peek() == 'e' || Peek() == 'E') {
            ++m_pos;
            if (!Eat('+')) {
                Eat('-');
            }
            if (!Digits()) {
                return false;
            }
        }
        return true;
    }
    bool String() {
        if (!Eat('"')) {
            return false;
        }
        while (m_pos < m_text.size()) {
            const unsigned char c = static_cast<unsigned char>(m_text[m_pos++]);
            if (c == '"') {
                return true;
            }
            if (c < 0x20) {
                return false;
            }
            if (c == '\\') {
                const char e = Peek();
                ++m_pos;
                if (e == 'u') {
                    for (int i = 0; i < 4; ++i) {
                        if (!std::isxdigit(static_cast<unsigned char>(Peek())) || m_pos >= m_text.size()) {
                            return false;
                        }
                        ++m_pos;
                    }
                } else if (std::string("\"\\/bfnrt").find(e) == std::string::npos || e == '\0') {
                    return false;
                }
            }
        }
        return false;
    }
    bool Value(int depth) {
        if (depth > 200) {
            return false;
        }
        switch (Peek()) {
        case '{': {
            ++m_pos;
            Blank();
            if (Eat('}')) {
                return true;
            }
            do {
                Blank();
                if (!String()) {
                    return false;
                }
                Blank();
                if (!Eat(':')) {
                    return false;
                }
                Blank();
                if (!Value(depth + 1)) {
                    return false;
                }
                Blank();
            } while (Eat(','));
            return Eat('}');
        }
        case '[': {
            ++m_pos;
            Blank();
            if (Eat(']')) {
                return true;
            }
            do {
                Blank();
                if (!Value(depth + 1)) {
                    return false;
                }
                Blank();
            } while (Eat(','));
            return Eat(']');
        }
        case '"':
            return String();
        case 't':
            return Literal("true");
        case 'f':
            return Literal("false");
        case 'n':
            return Literal("null");
        default:
            return Number();
        }
    }

    const std::string& m_text;
    std::size_t m_pos = 0;
};

}  // namespace tw_test
