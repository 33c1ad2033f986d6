// CJSON: the lenient JSON reader.
//
// Every public function wraps one CJsonReader over the text's code units. The
// reader fills values in place (a CVariable made by the caller, on the heap for
// an element) so that no finished value is ever copied: an element goes to its
// parent with InsertElement, which takes the pointer over.
#include "varlib/formats/JSON.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "corelib/framework/Runtime.h"

namespace {

bool IsWhitespace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

int HexDigit(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

// The four characters of a "\u" escape as one code unit. They are read as
// wcstol reads base 16 (white space, a sign or "0x" in front count, the first
// character that is no hex digit ends the number, nothing readable is 0), so
// "\u00zz" gives 0 and "\u-001" gives 0xFFFF; the fast path covers four hex digits.
template <class Unit>
char16_t HexEscape(const Unit* four) {
    int value = 0;
    for (int k = 0; k < 4; ++k) {
        const int digit = HexDigit(four[k]);
        if (digit < 0) {
            const char16_t text[5] = {four[0], four[1], four[2], four[3], 0};
            return static_cast<char16_t>(tw::wcstol(text, nullptr, 16));
        }
        value = value * 16 + digit;
    }
    return static_cast<char16_t>(value);
}

// The number text (ASCII only: "0123456789+-.eE") as the runtime's _wtof reads
// it, converted in place with from_chars. from_chars reads the same subject
// sequence as strtod except a leading "+" and results out of range, so those
// two are settled here and by _wtof itself.
template <class Unit>
double TextToDouble(const Unit* text, int length) {
    char small[64];
    std::string large;
    char* narrow = small;
    if (length > static_cast<int>(sizeof small)) {
        large.resize(static_cast<size_t>(length));
        narrow = large.data();
    }
    for (int k = 0; k < length; ++k) narrow[k] = static_cast<char>(text[k]);
    const char* first = narrow;
    const char* last = narrow + length;
    if (first != last && *first == '+') {
        ++first;
        if (first != last && (*first == '+' || *first == '-'))
            return 0.0;   // strtod takes one sign only
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(first, last, value);
    (void)end;
    if (error == std::errc())
        return value;
    if (error == std::errc::invalid_argument)
        return 0.0;
    // Overflow to infinity or underflow: exactly as the runtime gives it.
    return _wtof(std::u16string(text, text + length).c_str());
}

// One parse over one text. Positions are ints as in the public interface; a
// position outside 0 to length - 1 holds no character, so that any index a
// caller passes reads as the end of the text instead of outside the buffer.
//
// Unit is char16_t for a CString, or unsigned char for UTF-8 bytes read as
// they stand. Everything the grammar looks at is ASCII, and an ASCII byte is
// never part of a multi-byte sequence, so the bytes between two ASCII
// characters decode to the same code units alone as within the whole text:
// the UTF-8 reader gives what converting the text first would give. The one
// place where units and bytes part is a "\u" escape whose four units are not
// all ASCII; the UTF-8 reader then gives up (NeedsUtf16) and the caller reads
// the converted text instead.
template <class Unit>
class CJsonReader {
public:
    static constexpr bool kUtf8 = sizeof(Unit) == 1;

    CJsonReader(const Unit* text, int nLength) : m_text(text), m_nLength(nLength) {}
    explicit CJsonReader(const CString& json) : m_text(json), m_nLength(json.GetLength()) {}

    // The UTF-8 text held something only the converted text can be read by.
    bool NeedsUtf16() const { return m_bNeedsUtf16; }

    bool HasChar(int i) const { return static_cast<unsigned>(i) < static_cast<unsigned>(m_nLength); }

    void SkipWhitespace(int& i) const {
        if (i < 0) return;
        while (i < m_nLength && IsWhitespace(m_text[i])) ++i;
    }

    // The token that starts at i (white space already skipped), and its length.
    int TokenAt(int i, int& nLength) const {
        nLength = 1;
        if (!HasChar(i)) return CJSON::TOKEN_NONE;
        const Unit* p = m_text + i;
        const int remaining = m_nLength - i;
        switch (*p) {
        case u'{': return CJSON::TOKEN_OBJECT_OPEN;
        case u'}': return CJSON::TOKEN_OBJECT_CLOSE;
        case u'[': return CJSON::TOKEN_ARRAY_OPEN;
        case u']': return CJSON::TOKEN_ARRAY_CLOSE;
        case u':': return CJSON::TOKEN_COLON;
        case u',': return CJSON::TOKEN_COMMA;
        case u'"': return CJSON::TOKEN_STRING;
        case u'-': case u'0': case u'1': case u'2': case u'3': case u'4':
        case u'5': case u'6': case u'7': case u'8': case u'9':
            return CJSON::TOKEN_NUMBER;
        case u't':
            nLength = 4;
            if (remaining >= 4 && p[1] == u'r' && p[2] == u'u' && p[3] == u'e') return CJSON::TOKEN_TRUE;
            break;
        case u'f':
            nLength = 5;
            if (remaining >= 5 && p[1] == u'a' && p[2] == u'l' && p[3] == u's' && p[4] == u'e')
                return CJSON::TOKEN_FALSE;
            break;
        case u'n':
            nLength = 4;
            if (remaining >= 4 && p[1] == u'u' && p[2] == u'l' && p[3] == u'l') return CJSON::TOKEN_NULL;
            break;
        default:
            break;
        }
        return CJSON::TOKEN_NONE;
    }

    int NextToken(int& i) const {
        SkipWhitespace(i);
        int nLength = 0;
        const int token = TokenAt(i, nLength);
        if (token != CJSON::TOKEN_NONE) i += nLength;
        return token;
    }

    // Last position of the run of number characters from i; i - 1 if none.
    // Sets bDouble when the run holds ".", "e" or "E".
    int LastIndexOfNumber(int i, bool& bDouble) const {
        bDouble = false;
        if (!HasChar(i)) return i == INT_MIN ? INT_MIN : i - 1;
        for (; i < m_nLength; ++i) {
            const char16_t c = m_text[i];
            if (IsDigit(c) || c == u'-' || c == u'+') continue;
            if (c == u'.' || c == u'e' || c == u'E') {
                bDouble = true;
                continue;
            }
            break;
        }
        return i - 1;
    }

    // A number at i, white space already skipped.
    void NumberAt(int& i, CVariable& out) const {
        bool bDouble = false;
        const int first = i;
        const int last = HasChar(first) ? LastIndexOfNumber(first, bDouble) : first;
        if (!HasChar(first) || last < first) {
            out.ConstructInteger(0);   // nothing to read: _wtoi64 of the empty text; i stays
            return;
        }
        i = last + 1;
        const Unit* text = m_text + first;
        const Unit* const end = m_text + last + 1;
        if (bDouble) {
            out.ConstructDouble(TextToDouble(text, last - first + 1));
            return;
        }
        // A sign and up to 18 digits cannot overflow; longer runs go to _wtoi64,
        // which saturates. The run starts with a number character and ends
        // before one that is no digit, so _wtoi64 (a sign and digits) stops inside it.
        const Unit* p = text;
        const bool bNegative = *p == u'-';
        if (*p == u'-' || *p == u'+') ++p;
        int64_t value = 0;
        for (int nDigits = 0; nDigits < 18 && p < end && IsDigit(*p); ++p, ++nDigits) value = value * 10 + (*p - u'0');
        if (p < end && IsDigit(*p)) {
            out.ConstructInteger(_wtoi64(std::u16string(text, end).c_str()));
            return;
        }
        out.ConstructInteger(bNegative ? -value : value);
    }

    // The characters after an opening quote up to the closing one, escapes
    // resolved. false at the end of the text or on a "\u" with fewer than four
    // characters left; i then stays where reading stopped.
    // A member name: as StringBody, but a name without escapes that came
    // before is handed out again, shared, instead of being made anew. An
    // object's names repeat in every object of its kind.
    bool NameBody(int& i, CString& out) {
        const Unit* const text = m_text;
        int j = i;
        while (j < m_nLength && text[j] != u'"' && text[j] != u'\\') ++j;
        const int length = j - i;
        if (j >= m_nLength || text[j] != u'"' || length > kNameMax)
            return StringBody(i, out);
        uint32_t hash = 2166136261u;   // FNV-1a over the units
        for (int k = i; k < j; ++k) hash = (hash ^ static_cast<uint32_t>(text[k])) * 16777619u;
        NameEntry& entry = m_names[hash % kNameSlots];
        if (entry.nLength == length && !entry.text.IsEmpty() &&
            std::equal(text + i, text + j, text + entry.nStart)) {
            out = entry.text;
        } else {
            out = Units(text + i, length);
            entry = {i, length, out};
        }
        i = j + 1;
        return true;
    }

    bool StringBody(int& i, CString& out) {
        const Unit* const text = m_text;
        const int n = m_nLength;
        // Most strings have no escape: one scan, one allocation of the exact size.
        int j = i;
        while (j < n && text[j] != u'"' && text[j] != u'\\') ++j;
        if (j >= n) {
            i = n;
            return false;
        }
        if (text[j] == u'"') {
            out = Units(text + i, j - i);
            i = j + 1;
            return true;
        }
        std::u16string value;
        value.reserve(static_cast<size_t>(j - i) + 16);
        AppendUnits(value, text + i, j - i);
        i = j;
        for (;;) {
            if (i >= n) return false;
            const Unit c = text[i++];
            if (c == u'"') break;
            if (c != u'\\') {
                int run = i;
                while (run < n && text[run] != u'"' && text[run] != u'\\') ++run;
                AppendUnits(value, text + i - 1, run - i + 1);
                i = run;
                continue;
            }
            if (i >= n) return false;
            const Unit escaped = text[i++];
            if constexpr (kUtf8) {
                if (escaped >= 0x80) {   // drops one unit of a character that may be several bytes
                    m_bNeedsUtf16 = true;
                    return false;
                }
            }
            switch (escaped) {
            case u'"': case u'\\': case u'/': value.push_back(escaped); break;
            case u'b': value.push_back(u'\b'); break;
            case u'f': value.push_back(u'\f'); break;
            case u'n': value.push_back(u'\n'); break;
            case u'r': value.push_back(u'\r'); break;
            case u't': value.push_back(u'\t'); break;
            case u'u':
                // Fewer than four bytes are fewer than four units too.
                if (n - i < 4) return false;
                if constexpr (kUtf8) {
                    if (text[i] >= 0x80 || text[i + 1] >= 0x80 || text[i + 2] >= 0x80 || text[i + 3] >= 0x80) {
                        m_bNeedsUtf16 = true;
                        return false;
                    }
                }
                value.push_back(HexEscape(text + i));
                i += 4;
                break;
            default:
                break;   // an unknown escape drops both characters
            }
        }
        out = CString(std::move(value));
        return true;
    }

    // ParseString: white space, one character stepped over unexamined, the body.
    // A position that holds no character has no opening quote to step over: fail there.
    bool String(int& i, CString& out) {
        SkipWhitespace(i);
        if (!HasChar(i)) return false;
        ++i;
        return StringBody(i, out);
    }

    // ParseValue with the look-ahead already taken: token starts at j, the
    // first non-white position from i. i moves only when the token is one that
    // a value can start with.
    void ValueAt(int& i, int j, int token, int& bSuccess, int nDepth, CVariable& out) {
        switch (token) {
        case CJSON::TOKEN_OBJECT_OPEN:
        case CJSON::TOKEN_ARRAY_OPEN:
            // Depth guard: a container below MAX_NESTING_DEPTH others fails here,
            // before it recurses, as an empty ARRAY; its parents fail in turn, so
            // the whole parse gives an empty ARRAY with bSuccess 0 however deep
            // the input goes.
            if (nDepth >= CJSON::MAX_NESTING_DEPTH) {
                out.ConstructArray(CVariableArray());
                bSuccess = 0;
                return;
            }
            i = j + 1;
            if (token == CJSON::TOKEN_OBJECT_OPEN)
                ObjectBody(i, bSuccess, nDepth + 1, out);
            else
                ArrayBody(i, bSuccess, nDepth + 1, out);
            return;
        case CJSON::TOKEN_STRING: {
            i = j + 1;
            CString text;
            if (!StringBody(i, text)) {
                bSuccess = 0;
                return;   // out stays a value of type 0
            }
            out.ConstructString(CString());
            out.m_strValue = std::move(text);
            return;
        }
        case CJSON::TOKEN_NUMBER:
            i = j;
            NumberAt(i, out);
            return;
        case CJSON::TOKEN_TRUE:
            i = j + 4;
            out.ConstructInteger(1);
            return;
        case CJSON::TOKEN_FALSE:
            i = j + 5;
            out.ConstructInteger(0);
            return;
        case CJSON::TOKEN_NULL:
            i = j + 4;
            return;   // out stays a value of type 0
        default:
            bSuccess = 0;   // nothing, or a stray "}", "]", ":" or ","
            return;
        }
    }

    void Value(int& i, int& bSuccess, int nDepth, CVariable& out) {
        int j = i;
        SkipWhitespace(j);
        int nLength = 0;
        ValueAt(i, j, TokenAt(j, nLength), bSuccess, nDepth, out);
    }

    // Members up to "}", the "{" already consumed; out is an ARRAY. Commas are
    // skipped wherever a member may start and are not needed between members.
    void ObjectBody(int& i, int& bSuccess, int nDepth, CVariable& out) {
        BecomeArray(out);
        CVariableArray& members = out.m_arrayValue;
        for (int j = 0, token = 0; (token = NextItem(i, j, CJSON::TOKEN_OBJECT_CLOSE)) != CJSON::TOKEN_NONE;) {
            if (token == CJSON::TOKEN_OBJECT_CLOSE) return;
            // Whatever else stands here is read as the member's name.
            i = j + 1;
            CString name;
            if (!NameBody(i, name)) bSuccess = 0;
            if (!bSuccess) break;
            if (NextToken(i) != CJSON::TOKEN_COLON) {
                bSuccess = 0;
                break;
            }
            auto element = std::make_unique<CVariable>();
            Value(i, bSuccess, nDepth, *element);
            if (!bSuccess) break;
            members.InsertElement(name, element.get());   // a repeated name keeps its place
            element.release();
        }
        bSuccess = 0;
        members.CleanUp();   // a failed object is an empty ARRAY
    }

    // Values up to "]", the "[" already consumed; out is an ARRAY. Elements
    // are numbered by the values read: skipped commas make no elements.
    void ArrayBody(int& i, int& bSuccess, int nDepth, CVariable& out) {
        BecomeArray(out);
        CVariableArray& elements = out.m_arrayValue;
        int nCount = 0;
        for (int j = 0, token = 0; (token = NextItem(i, j, CJSON::TOKEN_ARRAY_CLOSE)) != CJSON::TOKEN_NONE;) {
            if (token == CJSON::TOKEN_ARRAY_CLOSE) return;
            auto element = std::make_unique<CVariable>();
            ValueAt(i, j, token, bSuccess, nDepth, *element);
            if (!bSuccess) break;
            elements.InsertElement(IndexText(nCount++), element.get());
            element.release();
        }
        bSuccess = 0;
        elements.CleanUp();   // a failed array is an empty ARRAY
    }

private:
    // Skips blanks and commas from i to the next item of an object or array
    // and gives its token, with j at its first character; the closing token
    // is consumed (i past it), and TOKEN_NONE means the text ended first.
    int NextItem(int& i, int& j, int closeToken) {
        for (;;) {
            j = i;
            SkipWhitespace(j);
            int nLength = 0;
            const int token = TokenAt(j, nLength);
            if (token == CJSON::TOKEN_COMMA || token == closeToken) i = j + 1;
            if (token != CJSON::TOKEN_COMMA) return token;
        }
    }

    // Makes a freshly constructed value an empty ARRAY. On a fresh value the
    // type is all that ConstructArray of an empty array would change, and this
    // spares the copy of an empty array for every object and array read.
    static void BecomeArray(CVariable& fresh) { fresh.m_eType = VT_ARRAY; }

    // "%d" of an element number, made once per reader and shared by all its arrays.
    const CString& IndexText(int n) {
        while (static_cast<int>(m_indexTexts.size()) <= n)
            m_indexTexts.push_back(CString::Decimal(static_cast<unsigned int>(m_indexTexts.size())));
        return m_indexTexts[static_cast<size_t>(n)];
    }

    // The units from text on as a CString.
    static CString Units(const Unit* text, int count) {
        if constexpr (kUtf8)
            return CString::FromUtf8(std::string_view(reinterpret_cast<const char*>(text), static_cast<size_t>(count)));
        else
            return CString(text, count);
    }
    static void AppendUnits(std::u16string& out, const Unit* text, int count) {
        if constexpr (kUtf8)
            out += Units(text, count).View();
        else
            out.append(text, static_cast<size_t>(count));
    }

    const Unit* m_text;   // m_nLength units; a CString's are zero-terminated, UTF-8 bytes need not be
    int m_nLength;
    std::vector<CString> m_indexTexts;
    // Names met lately, by a hash of their units (NameBody).
    struct NameEntry {
        int nStart = 0;     // where the name's units stand in the text
        int nLength = -1;
        CString text;
    };
    static constexpr int kNameMax = 64;
    static constexpr std::size_t kNameSlots = 64;
    std::array<NameEntry, kNameSlots> m_names;
    bool m_bNeedsUtf16 = false;
};

}  // namespace

CVariable CJSON::Parse(const CString& json, int& bSuccess) {
    bSuccess = 1;
    CVariable result;
    if (json.IsEmpty())
        return result;
    int index = 0;
    CJsonReader<char16_t>(json).Value(index, bSuccess, 0, result);
    return result;
}

CVariable CJSON::Parse(const CString& json) {
    int bSuccess = 1;
    return Parse(json, bSuccess);
}

CVariable CJSON::Parse(std::string_view utf8, int& bSuccess) {
    // One variable returned on every path, so that it is built in place: a
    // CVariable has no move, and a second return would copy the whole value.
    bSuccess = 1;
    CVariable result;
    if (utf8.empty())
        return result;
    // Positions are ints; a text too long for them is read as its conversion is.
    bool bConvert = utf8.size() > static_cast<size_t>(INT_MAX);
    if (!bConvert) {
        int index = 0;
        CJsonReader<unsigned char> reader(reinterpret_cast<const unsigned char*>(utf8.data()), static_cast<int>(utf8.size()));
        reader.Value(index, bSuccess, 0, result);
        bConvert = reader.NeedsUtf16();
    }
    if (bConvert) {
        const CString json = CString::FromUtf8(utf8);
        result = CVariable();
        bSuccess = 1;
        int index = 0;
        CJsonReader<char16_t>(json).Value(index, bSuccess, 0, result);
    }
    return result;
}

CVariable CJSON::Parse(std::string_view utf8) {
    int bSuccess = 1;
    return Parse(utf8, bSuccess);
}

CVariable CJSON::ParseValue(const CString& json, int& index, int& bSuccess) {
    CVariable result;
    CJsonReader<char16_t>(json).Value(index, bSuccess, 0, result);
    return result;
}

CVariable CJSON::ParseObject(const CString& json, int& index, int& bSuccess) {
    CVariable result;
    CJsonReader<char16_t> reader(json);
    reader.NextToken(index);   // the "{", taken unexamined
    reader.ObjectBody(index, bSuccess, 1, result);
    return result;
}

CVariable CJSON::ParseArray(const CString& json, int& index, int& bSuccess) {
    CVariable result;
    CJsonReader<char16_t> reader(json);
    reader.NextToken(index);   // the "[", taken unexamined
    reader.ArrayBody(index, bSuccess, 1, result);
    return result;
}

CVariable CJSON::ParseString(const CString& json, int& index, int& bSuccess) {
    CVariable result;
    CString text;
    if (!CJsonReader<char16_t>(json).String(index, text)) {
        bSuccess = 0;
        return result;
    }
    result.ConstructString(CString());
    result.m_strValue = std::move(text);
    return result;
}

CVariable CJSON::ParseNumber(const CString& json, int& index) {
    CVariable result;
    CJsonReader<char16_t> reader(json);
    reader.SkipWhitespace(index);
    reader.NumberAt(index, result);
    return result;
}

int CJSON::NextToken(const CString& json, int& index) { return CJsonReader<char16_t>(json).NextToken(index); }

int CJSON::CheckNextToken(const CString& json, int index) { return CJsonReader<char16_t>(json).NextToken(index); }

int CJSON::LastIndexOfNumber(const CString& json, int index) {
    bool bDouble = false;
    return CJsonReader<char16_t>(json).LastIndexOfNumber(index, bDouble);
}

void CJSON::SkipWhitespace(const CString& json, int& index) { CJsonReader<char16_t>(json).SkipWhitespace(index); }
