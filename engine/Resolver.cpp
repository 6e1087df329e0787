#include "Resolver.h"
#include "ValueFormat.h"
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

// Index variables nest ("a[b[c]]"); each level is a lookup of its own.
const int kMaxIndexDepth = 8;
// An index variable's name is copied to a buffer of this size.
const size_t kIndexNameMax = 255;

// atoi, clamped instead of overflowing.
long long ParseInt(const char* s)
{
    long long n = strtoll(s, nullptr, 10);
    return n < INT_MIN ? INT_MIN : n > INT_MAX ? INT_MAX : n;
}

bool Resolve(IVelmorValueSource& source, const std::string& word, std::string& text, int depth)
{
    std::string name = word;
    long long index = -1;
    const size_t bracket = name.find('[');
    if (bracket != std::string::npos) {
        std::string indexText = name.substr(bracket + 1);
        name.resize(bracket);
        const size_t close = indexText.find(']');
        if (close != std::string::npos)
            indexText.resize(close);
        index = ParseInt(indexText.c_str());
        if (index == 0 && (indexText.empty() || indexText[0] != '0')) {
            // Not a number: a variable holding the index.
            index = 0;
            std::string indexValue;
            if (depth < kMaxIndexDepth &&
                Resolve(source, indexText.substr(0, kIndexNameMax), indexValue, depth + 1)) {
                const size_t eq = indexValue.find('=');
                if (eq != std::string::npos)
                    index = ParseInt(indexValue.c_str() + eq + 1);
            }
        }
    }
    std::string field;
    const size_t dot = name.find('.');
    if (dot != std::string::npos) {
        field = name.substr(dot + 1);
        name.resize(dot);
    }

    CVelmorValue value;
    switch (source.FindValue(name, index, value)) {
    case IVelmorValueSource::kFound:
        if (VelmorFormatValue(text, name, value, field, index))
            return true;
        text = name; // a value the formats do not show: the name
        return true;
    case IVelmorValueSource::kFoundNoText:
        text = name;
        return true;
    default:
        return false;
    }
}

} // namespace

int VelmorResolveVariable(IVelmorValueSource& source, char* buf, size_t cap)
{
    if (!buf || cap == 0)
        return 0;
    std::string text;
    if (!Resolve(source, std::string(buf, strnlen(buf, cap - 1)), text, 0))
        return 0;
    const size_t n = std::min(text.size(), cap - 1);
    memcpy(buf, text.data(), n);
    buf[n] = 0;
    return 1;
}
