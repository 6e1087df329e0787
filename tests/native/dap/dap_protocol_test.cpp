// Framing of the protocol's messages, and the breakpoint table: where
// breakpoints stop, why they do not, hit conditions and log messages.
#include "dap/Breakpoints.h"
#include "dap/DapProtocol.h"
#include <gtest/gtest.h>

namespace {

std::string Frame(const std::string& body)
{
    return "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::deque<CDapIncoming> FeedAll(CDapFramer& f, const std::string& bytes, size_t chunk)
{
    std::deque<CDapIncoming> out;
    for (size_t i = 0; i < bytes.size(); i += chunk)
        f.Feed(bytes.data() + i, std::min(chunk, bytes.size() - i), out);
    return out;
}

} // namespace

TEST(DapFramer, MessagesWholeSplitAndBad)
{
    const std::string two = Frame(R"({"seq":1,"command":"a"})") + Frame(R"({"seq":2,"command":"é"})");
    // In one piece, byte by byte, and in odd chunks: the same two messages.
    for (size_t chunk : {two.size(), (size_t)1, (size_t)7}) {
        CDapFramer f;
        auto out = FeedAll(f, two, chunk);
        ASSERT_EQ(out.size(), 2u) << chunk;
        EXPECT_EQ(out[0].nKind, CDapIncoming::MESSAGE);
        EXPECT_EQ(out[0].message["seq"], 1);
        EXPECT_EQ(out[1].message["command"], "é");
    }
    // Each bad piece is reported once and the stream goes on after it.
    CDapFramer f;
    const std::string bad = Frame("{\"seq\":") + "X-Other: 1\r\n\r\n" + "Content-Length: -4\r\n\r\n" +
                            "content-length:  12 \r\nContent-Type: application/json\r\n\r\n" +
                            R"({"seq":3}   )" + Frame(R"({"seq":4})");
    auto out = FeedAll(f, bad, 5);
    ASSERT_EQ(out.size(), 5u);
    EXPECT_EQ(out[0].nKind, CDapIncoming::BAD_INPUT);
    EXPECT_NE(out[0].strError.find("malformed JSON"), std::string::npos);
    EXPECT_NE(out[1].strError.find("without Content-Length"), std::string::npos);
    EXPECT_NE(out[2].strError.find("not a number"), std::string::npos);
    EXPECT_EQ(out[3].message["seq"], 3); // a header name in any case, blanks around the value
    EXPECT_EQ(out[4].message["seq"], 4);
    // A body beyond the limit is refused before it is read.
    CDapFramer g;
    std::deque<CDapIncoming> big;
    const std::string hdr = "Content-Length: " + std::to_string(CDapFramer::kMaxBody + 1) + "\r\n\r\n";
    g.Feed(hdr.data(), hdr.size(), big);
    ASSERT_EQ(big.size(), 1u);
    EXPECT_NE(big[0].strError.find("exceeds"), std::string::npos);
}

TEST(DapBreakpoints, VerifiedLinesAndReasons)
{
    const std::string text = "% comment\n"                  // 1
                             "variable a = 1;\n"            // 2
                             "\n"                           // 3
                             "define f (x)\n"               // 4
                             "{\n"                          // 5
                             "   variable s = \"a\\\n"      // 6 a string continued...
                             "   % not a comment\";\n"      // 7 ...on this line
                             "   return x;\n"               // 8
                             "}\n"                          // 9
                             "#ifdef X\n"                   // 10
                             "try\n"                        // 11
                             "  f (1);\n"                   // 12
                             "catch AnyError;\n"            // 13
                             "private define g () { return 2; }\n" // 14
                             "}\n";                         // 15
    CBreakpointTable t;
    auto r = t.SetWithText("/x.sl", text, true,
                           {{1, "", "", ""}, {3, "", "", ""}, {7, "", "", ""}, {9, "", "", ""}, {11, "", "", ""},
                            {14, "", "", ""}, {15, "", "", ""}, {0, "", "", ""}, {40, "", "", ""}, {8, "", "x", ""}});
    ASSERT_EQ(r.size(), 10u);
    const int want[] = {2, 6, 8, 12, 12, 14, 0, 0, 0, 0};
    for (size_t i = 0; i < 10; ++i)
        EXPECT_EQ(r[i].nLine, want[i]) << "breakpoint " << i;
    EXPECT_NE(r[6].strReason.find("no statement"), std::string::npos);
    EXPECT_NE(r[7].strReason.find("outside the file (15 lines)"), std::string::npos);
    EXPECT_NE(r[9].strReason.find("not a count"), std::string::npos);
    // Several asked lines on one stop line give one breakpoint there.
    auto* active = t.ForFile("/x.sl");
    ASSERT_NE(active, nullptr);
    EXPECT_EQ(active->size(), 5u);
    const unsigned gen = t.Generation();
    EXPECT_TRUE(t.SetWithText("/x.sl", text, true, {}).empty());
    EXPECT_EQ(t.ForFile("/x.sl"), nullptr);
    EXPECT_TRUE(t.Empty());
    EXPECT_NE(t.Generation(), gen);
    auto u = t.SetWithText("/gone.sl", "", false, {{1, "", "", ""}});
    EXPECT_FALSE(u[0].bVerified);
    EXPECT_NE(u[0].strReason.find("cannot read /gone.sl"), std::string::npos);
    // Ids are unique over the session.
    EXPECT_NE(u[0].nId, r[0].nId);
}

TEST(DapBreakpoints, HitConditionsAndLogMessages)
{
    struct Case
    {
        const char* text;
        std::vector<int> stops; // of hits 1..6
    } cases[] = {{"3", {3}},          {"==2", {2}},       {">4", {5, 6}},   {">= 5", {5, 6}},
                 {"<3", {1, 2}},      {"<=1", {1}},       {"%2", {2, 4, 6}}, {" % 3 ", {3, 6}}};
    for (const Case& c : cases) {
        char op = 0;
        long long n = 0;
        ASSERT_TRUE(ParseHitCondition(c.text, op, n)) << c.text;
        std::vector<int> stops;
        for (int hit = 1; hit <= 6; ++hit)
            if (HitConditionHolds(op, n, hit))
                stops.push_back(hit);
        EXPECT_EQ(stops, c.stops) << c.text;
    }
    for (const char* bad : {"", "x", "%0", ">", "1.5", "-1", "== 2 3"}) {
        char op = 0;
        long long n = 0;
        EXPECT_FALSE(ParseHitCondition(bad, op, n)) << bad;
    }
    auto parts = SplitLogMessage("x={x} {{y}} {a[1]}! {open");
    ASSERT_EQ(parts.size(), 5u);
    EXPECT_EQ(parts[0].str, "x=");
    EXPECT_TRUE(parts[1].bExpression);
    EXPECT_EQ(parts[1].str, "x");
    EXPECT_EQ(parts[2].str, " {y} ");
    EXPECT_EQ(parts[3].str, "a[1]");
    EXPECT_EQ(parts[4].str, "! {open");
    EXPECT_FALSE(parts[4].bExpression);
}
