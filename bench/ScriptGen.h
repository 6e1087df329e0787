// A deterministic generator of C-style, S-Lang-like scripts for the
// benchmarks. The native and the Windows benchmarks include this one header
// so that both measure exactly the same text: it uses its own random number
// generator and integer formatting (nothing whose output depends on the
// standard library or the platform), and its text is plain ASCII, so that
// wchar_t being 32-bit natively and 16-bit on Windows changes nothing.
//
// Shape of the text: lines of about 40 characters, functions with nested
// blocks, string literals, the built-in operator words (and, or, xor) and
// function words (sin, cos, sqrt, log, exp, abs, min, max ...), and about a
// third of all characters in comments: "//" line and trailing comments,
// short inline /* */ comments, and /* */ block comments over several lines.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace bench {

// Benchmark sizes are counted in characters: 1 MiB = 1,048,576 characters,
// which is also the size in bytes of the script as an ASCII file.
const size_t kMiB = 1u << 20;

// FNV-1a over the characters as 16-bit units: prints the same value on both
// platforms when both generated the same text.
inline uint32_t Checksum(const std::wstring& s)
{
    uint32_t h = 2166136261u;
    for (wchar_t c : s) {
        const unsigned u = (unsigned)c & 0xFFFFu;
        h = (h ^ (u & 0xFF)) * 16777619u;
        h = (h ^ (u >> 8)) * 16777619u;
    }
    return h;
}

class ScriptGenerator
{
public:
    explicit ScriptGenerator(uint64_t seed = 0x5eed5eedULL) : m_state(seed) {}

    // Whole functions are written until the text holds at least
    // targetChars characters, so it ends on a closed function and every
    // line, the last one included, ends with '\n'.
    std::wstring Generate(size_t targetChars)
    {
        m_out.clear();
        m_out.reserve(targetChars + 4096); // no regrowth: keeps the heap tidy for memory figures
        m_comment = 0;
        m_line.clear();
        while (m_out.size() < targetChars)
            Function();
        return m_out;
    }

    // Characters of the last generated text that are inside comments,
    // delimiters included (as the generator wrote them).
    size_t CommentChars() const { return m_comment; }

private:
    // splitmix64: small, fast, and the same everywhere.
    uint64_t Next()
    {
        uint64_t z = (m_state += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    unsigned Pick(unsigned n) { return (unsigned)(Next() % n); }
    bool Chance(unsigned percent) { return Pick(100) < percent; }
    template <size_t N> const wchar_t* OneOf(const wchar_t* const (&words)[N]) { return words[Pick((unsigned)N)]; }

    // Comments are chosen more often while they are below a third of the
    // text and less often above it, which holds the share near a third.
    bool CommentDue() const { return m_comment * 3 < m_out.size() + m_line.size(); }

    // --- line assembly -----------------------------------------------------
    void Code(const wchar_t* s) { m_line += s; }
    void Code(const std::wstring& s) { m_line += s; }
    void Comment(const std::wstring& s)
    {
        m_line += s;
        m_comment += s.size();
    }
    void Number(unsigned n)
    {
        wchar_t buf[12];
        int i = 12;
        do {
            buf[--i] = (wchar_t)(L'0' + n % 10);
            n /= 10;
        } while (n);
        m_line.append(buf + i, (size_t)(12 - i));
    }
    void Indent(int n) { m_line.append((size_t)n, L' '); }
    void EndLine()
    {
        m_out += m_line;
        m_out += L'\n';
        m_line.clear();
    }

    // --- words -------------------------------------------------------------
    void Name()
    {
        // No name is one of the built-in words ("sum" would be coloured).
        static const wchar_t* const names[] = {
            L"x", L"y", L"n", L"i", L"k", L"acc", L"total", L"width", L"height", L"rate", L"idx",
            L"count", L"offset", L"scale", L"tmp", L"value", L"row", L"col", L"buf", L"step",
        };
        Code(OneOf(names));
        if (Chance(60))
            Number(Pick(100));
    }
    void Term(int depth = 0)
    {
        const unsigned r = Pick(100);
        if (r < 45) {
            Name();
        } else if (r < 55) {
            Number(Pick(1000));
        } else if (r < 80) {
            static const wchar_t* const unary[] = { L"sin", L"cos", L"sqrt", L"log", L"exp", L"abs", L"tan", L"sign" };
            Code(OneOf(unary));
            Code(L"(");
            Name();
            Code(L")");
        } else {
            static const wchar_t* const binary[] = { L"min", L"max" };
            Code(OneOf(binary));
            Code(L"(");
            Name();
            Code(L", ");
            // Nested calls stop at two levels: no freak lines.
            if (depth < 1)
                Term(depth + 1);
            else
                Number(Pick(1000));
            Code(L")");
        }
    }
    void Expr()
    {
        static const wchar_t* const ops[] = { L" + ", L" - ", L" * ", L" / " };
        Term();
        for (unsigned n = 1 + Pick(2); n > 0; --n) {
            Code(OneOf(ops));
            Term();
        }
    }
    void Compare()
    {
        static const wchar_t* const rel[] = { L" < ", L" > ", L" <= ", L" >= ", L" == ", L" != " };
        Name();
        Code(OneOf(rel));
        if (Chance(50))
            Number(Pick(100));
        else
            Name();
    }
    void Condition()
    {
        static const wchar_t* const logic[] = { L" and ", L" or ", L" xor " };
        Compare();
        if (Chance(55)) {
            Code(OneOf(logic));
            Compare();
        }
    }
    std::wstring Prose(size_t length)
    {
        // Comment text mentions built-in words too: inside a comment they
        // must keep the comment colour.
        static const wchar_t* const words[] = {
            L"the", L"value", L"of", L"each", L"row", L"is", L"scaled", L"by", L"and", L"or", L"then",
            L"clamped", L"to", L"range", L"min", L"max", L"buffer", L"index", L"counts", L"loop",
            L"until", L"done", L"first", L"last", L"entry", L"keep", L"this", L"in", L"sync", L"with",
            L"caller", L"sqrt", L"log", L"table", L"width", L"note:", L"see", L"above", L"returns",
        };
        std::wstring s;
        while (s.size() < length) {
            if (!s.empty())
                s += L' ';
            s += OneOf(words);
        }
        return s;
    }
    void StringLiteral()
    {
        static const wchar_t* const texts[] = {
            L"loading rows", L"done", L"value = ", L"bad index", L"width: ", L"total ", L"skipped",
        };
        Code(L"\"");
        Code(OneOf(texts));
        Code(L"\"");
    }

    // --- lines -------------------------------------------------------------
    void LineComment(int indent)
    {
        Indent(indent);
        Comment(L"// " + Prose(28 + Pick(20)));
        EndLine();
    }
    void BlockComment(int indent)
    {
        Indent(indent);
        Comment(L"/* " + Prose(32 + Pick(16)));
        EndLine();
        for (unsigned n = 1 + Pick(4); n > 0; --n) {
            Indent(indent);
            Comment(L" * " + Prose(34 + Pick(16)));
            EndLine();
        }
        Indent(indent);
        if (Chance(50))
            Comment(L" * " + Prose(24 + Pick(16)) + L" */");
        else
            Comment(L" */");
        EndLine();
    }
    // One simple statement, without its line end; may add a trailing or
    // inline comment.
    void Simple()
    {
        const unsigned r = Pick(100);
        if (r < 10) {
            // A truth value: the word operators outside conditions too.
            Code(L"variable ");
            Name();
            Code(L" = ");
            Condition();
        } else if (r < 35) {
            Code(L"variable ");
            Name();
            Code(L" = ");
            Expr();
        } else if (r < 70) {
            Name();
            Code(L" = ");
            if (CommentDue() && Chance(25)) {
                Comment(L"/* " + Prose(6 + Pick(8)) + L" */");
                Code(L" ");
            }
            Expr();
        } else if (r < 85) {
            Name();
            Code(L" = ");
            StringLiteral();
            Code(L" + string(");
            Name();
            Code(L")");
        } else {
            Code(L"vmessage(");
            StringLiteral();
            Code(L", ");
            Name();
            Code(L", ");
            Term();
            Code(L")");
        }
        Code(L";");
        if (CommentDue() ? Chance(30) : Chance(4))
            Comment(L" // " + Prose(10 + Pick(14)));
    }
    void Statement(int indent, int depth)
    {
        const bool due = CommentDue();
        const unsigned r = Pick(100);
        if (r < (due ? 10u : 1u)) {
            BlockComment(indent);
        } else if (r < (due ? 40u : 6u)) {
            LineComment(indent);
        } else if (depth < 2 && r < (due ? 46u : 16u)) {
            static const wchar_t* const heads[] = { L"if (", L"while (" };
            Indent(indent);
            if (Chance(25)) {
                Code(L"foreach ");
                Name();
                Code(L" (");
                Name();
            } else {
                Code(OneOf(heads));
                Condition();
            }
            Code(L") {");
            EndLine();
            for (unsigned n = 1 + Pick(3); n > 0; --n)
                Statement(indent + 4, depth + 1);
            Indent(indent);
            Code(L"}");
            EndLine();
        } else {
            Indent(indent);
            Simple();
            EndLine();
        }
    }
    void Function()
    {
        static const wchar_t* const verbs[] = { L"scale", L"load", L"update", L"merge", L"check", L"draw", L"sort" };
        static const wchar_t* const nouns[] = { L"rows", L"table", L"buffer", L"range", L"item", L"grid" };
        if (CommentDue() ? Chance(80) : Chance(15))
            BlockComment(0);
        Code(L"define ");
        Code(OneOf(verbs));
        Code(L"_");
        Code(OneOf(nouns));
        Number(Pick(100));
        Code(L"(");
        Name();
        Code(L", ");
        Name();
        Code(L") {");
        EndLine();
        for (unsigned n = 4 + Pick(14); n > 0; --n)
            Statement(4, 0);
        Indent(4);
        Code(L"return ");
        Expr();
        Code(L";");
        EndLine();
        Code(L"}");
        EndLine();
        if (Chance(25))
            EndLine(); // sometimes a blank line between functions
    }

    uint64_t m_state;
    std::wstring m_out;
    std::wstring m_line;
    size_t m_comment = 0;
};

// The benchmark script of about `chars` characters.
inline std::wstring MakeScript(size_t chars)
{
    return ScriptGenerator().Generate(chars);
}

} // namespace bench
