// The lines of a script's functions as the S-Lang adapter reads them from
// the text: definitions among comments, strings and characters that hold
// braces, and texts that do not read cleanly.
#include "engine/slang/SlangFunctionLines.h"
#include <gtest/gtest.h>

namespace {

using Spans = std::vector<std::pair<int, int>>;

Spans Of(const CSlangFunctionLines& lines, const char* name)
{
    const Spans* s = lines.Find(name);
    return s ? *s : Spans();
}

TEST(SlangFunctionLinesTest, DefinitionsAmongCommentsStringsAndCharacters)
{
    CSlangFunctionLines lines;
    lines.Scan("% define commented() {\n"                    // 1
               "define f(a)\n"                               // 2
               "{\n"                                         // 3
               "   variable s = \"}{ \\\" }\", c = '}';\n"   // 4
               "   if (a) { s = `}\n"                        // 5
               "   {`; }  % }\n"                             // 6
               "   return s;\n"                              // 7
               "}\n"                                         // 8
               "define later();\n"                           // 9
               "private define g() { return '{'; }\n"        // 10
               "static define f() {\n"                       // 11
               "}\n"                                         // 12
               "variable x = struct { a = 1 };\n"            // 13
               "define later() { x.a = 2; }\n");             // 14
    EXPECT_EQ(Spans({{2, 8}, {11, 12}}), Of(lines, "f"));
    EXPECT_EQ(Spans({{10, 10}}), Of(lines, "g"));
    EXPECT_EQ(Spans({{14, 14}}), Of(lines, "later"));
    EXPECT_EQ(nullptr, lines.Find("commented"));
    EXPECT_EQ(nullptr, lines.Find("x"));
}

TEST(SlangFunctionLinesTest, TextsThatDoNotReadCleanlyGiveNothing)
{
    const char* broken[] = {
        "define f() {\n",                      // unclosed body
        "define f() { }\n}\n",                 // a brace too many
        "define f() { variable s = \"open;\n}\n", // string across a line
        "define f() { variable s = `open; }\n",   // verbatim string never ends
    };
    for (const char* text : broken) {
        CSlangFunctionLines lines;
        lines.Scan(text);
        EXPECT_EQ(nullptr, lines.Find("f")) << text;
    }
}

} // namespace
