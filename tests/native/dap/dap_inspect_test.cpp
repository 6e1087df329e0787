// The inspection helpers on a live S-Lang interpreter: values by page,
// nesting that never ends, ordering of keys, evaluation with locals, and
// assignments into values.
#include "dap/SlangInspect.h"
#include <gtest/gtest.h>
#include <slang.h>

namespace {

class SlangInspect : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_NE(SLang_init_all(), -1);
        ASSERT_NE(SLang_load_string((char*)SlangInspectSource()), -1);
        ASSERT_NE(SLang_load_string((char*)R"SL(
variable big = [0:99999];
variable grid = _reshape ([1:6], [2, 3]);
variable self = struct {name = "loop", next = NULL};
self.next = self;
variable items = {1, "two", {3, [4, 5]}};
variable ages = Assoc_Type[];
ages["zed"] = 1; ages["ann"] = 31; ages["bob"] = 42;
variable text = "";
loop (2000) text += "y";
)SL"),
                  -1);
    }

    // The value of an expression in the global namespace.
    static CSlangValue Value(const std::string& expr)
    {
        std::vector<CSlangValue> r;
        std::string err;
        EXPECT_TRUE(SlangEvaluate(0, expr, CSlangValue(), r, err)) << expr << ": " << err;
        EXPECT_EQ(r.size(), 1u) << expr;
        return r.empty() ? CSlangValue() : std::move(r[0]);
    }

    static std::vector<std::string> Texts(const CSlangValue& v, long long start, long long count)
    {
        std::vector<CSlangValueText> c;
        std::string err;
        EXPECT_TRUE(SlangChildren(v, start, count, c, err)) << err;
        std::vector<std::string> out;
        for (auto& t : c)
            out.push_back(t.strName + "=" + t.strValue);
        return out;
    }
};

} // namespace

TEST_F(SlangInspect, ArraysByPageInEveryShape)
{
    CSlangValue big = Value("big");
    CSlangValueText t;
    std::string err;
    ASSERT_TRUE(SlangDescribe(big, t, err));
    EXPECT_EQ(t.strValue, "Integer_Type[100000]");
    EXPECT_EQ(t.nKind, SLV_ARRAY);
    EXPECT_EQ(t.nCount, 100000);
    EXPECT_EQ(Texts(big, 0, 3), (std::vector<std::string>{"[0]=0", "[1]=1", "[2]=2"}));
    // A page past the end is cut, a start past it is empty.
    EXPECT_EQ(Texts(big, 99998, 100), (std::vector<std::string>{"[99998]=99998", "[99999]=99999"}));
    EXPECT_TRUE(Texts(big, 200000, 10).empty());
    EXPECT_EQ(Texts(big, 50000, 100).size(), 100u);
    // Two dimensions page over the elements in order.
    EXPECT_EQ(Texts(Value("grid"), 2, 3), (std::vector<std::string>{"[2]=3", "[3]=4", "[4]=5"}));
    CSlangValue one;
    ASSERT_TRUE(SlangChild(Value("grid"), 5, one, err));
    ASSERT_TRUE(SlangDescribe(one, t, err));
    EXPECT_EQ(t.strValue, "6");
}

TEST_F(SlangInspect, NestingIsLazyAndTextsAreBounded)
{
    // A structure holding itself: each level is one more child, never a loop.
    CSlangValue v = Value("self");
    for (int level = 0; level < 50; ++level) {
        auto names = Texts(v, 0, 10);
        ASSERT_EQ(names.size(), 2u);
        EXPECT_EQ(names[0], "name=\"loop\"");
        EXPECT_EQ(names[1], "next=struct {name, next}");
        CSlangValue next;
        std::string err;
        ASSERT_TRUE(SlangChild(v, 1, next, err)) << err;
        v = std::move(next);
    }
    // Lists inside lists, keys of associative arrays in order.
    CSlangValue items = Value("items");
    EXPECT_EQ(Texts(items, 0, 10), (std::vector<std::string>{"[0]=1", "[1]=\"two\"", "[2]=List_Type[2]"}));
    CSlangValue inner;
    std::string err;
    ASSERT_TRUE(SlangChild(items, 2, inner, err));
    EXPECT_EQ(Texts(inner, 0, 10), (std::vector<std::string>{"[0]=3", "[1]=Integer_Type[2]"}));
    EXPECT_EQ(Texts(Value("ages"), 0, 10),
              (std::vector<std::string>{"\"ann\"=31", "\"bob\"=42", "\"zed\"=1"}));
    CSlangValueText t;
    ASSERT_TRUE(SlangDescribe(Value("text"), t, err));
    EXPECT_EQ(t.strValue.size(), 1023u + 3u);
    EXPECT_EQ(t.strValue.substr(0, 2), "\"y");
    // A plain value has no children.
    std::vector<CSlangValueText> none;
    EXPECT_FALSE(SlangChildren(Value("3"), 0, 5, none, err));
}

TEST_F(SlangInspect, EvaluationSeesLocalsAndReportsErrors)
{
    CSlangValue locals = Value("struct {x = 2, word = \"ab\"}");
    std::vector<CSlangValue> r;
    std::string err;
    ASSERT_TRUE(SlangEvaluate(0, "x * 21, word + \"c\", length (big)", locals, r, err)) << err;
    ASSERT_EQ(r.size(), 3u);
    CSlangValueText t;
    ASSERT_TRUE(SlangDescribe(r[0], t, err));
    EXPECT_EQ(t.strValue, "42");
    ASSERT_TRUE(SlangDescribe(r[1], t, err));
    EXPECT_EQ(t.strValue, "\"abc\"");
    ASSERT_TRUE(SlangDescribe(r[2], t, err));
    EXPECT_EQ(t.strValue, "100000");
    // A statement gives no value; errors come back as messages and leave
    // the interpreter able to go on.
    r.clear();
    ASSERT_TRUE(SlangEvaluate(0, "variable unused = 1", locals, r, err));
    EXPECT_TRUE(r.empty());
    EXPECT_FALSE(SlangEvaluate(0, "nothing_of_that_name", locals, r, err));
    EXPECT_NE(err.find("undefined"), std::string::npos) << err;
    EXPECT_FALSE(SlangEvaluate(0, "x +* 2", locals, r, err));
    EXPECT_FALSE(err.empty());
    EXPECT_FALSE(SlangEvaluate(0, "big[200000]", locals, r, err));
    r.clear();
    ASSERT_TRUE(SlangEvaluate(0, "x", locals, r, err)) << err;
    // Truth of values as conditions.
    EXPECT_TRUE(SlangIsTrue(Value("1")));
    EXPECT_FALSE(SlangIsTrue(Value("0")));
    EXPECT_FALSE(SlangIsTrue(Value("0.0")));
    EXPECT_TRUE(SlangIsTrue(Value("0.5")));
    EXPECT_FALSE(SlangIsTrue(Value("NULL")));
    EXPECT_TRUE(SlangIsTrue(Value("\"\"")));
    EXPECT_EQ(SLang_get_error(), 0);
}

TEST_F(SlangInspect, AssignmentsIntoValuesAndGlobals)
{
    std::string err;
    CSlangValue s = Value("self");
    ASSERT_TRUE(SlangSetChild(s, 0, Value("\"renamed\""), err)) << err;
    CSlangValue items = Value("items");
    ASSERT_TRUE(SlangSetChild(items, 1, Value("2.5"), err)) << err;
    CSlangValue ages = Value("ages");
    ASSERT_TRUE(SlangSetChild(ages, 0, Value("32"), err)) << err; // "ann", the first key
    CSlangValue big = Value("big");
    ASSERT_TRUE(SlangSetChild(big, 7, Value("-7"), err)) << err;
    // The script's own values changed: they are the same objects.
    std::vector<CSlangValue> r;
    ASSERT_TRUE(SlangEvaluate(0, "self.name + string (items[1]) + string (ages[\"ann\"]) + string (big[7])", CSlangValue(), r, err));
    CSlangValueText t;
    ASSERT_TRUE(SlangDescribe(r[0], t, err));
    EXPECT_EQ(t.strValue, "\"renamed2.532-7\"");
    EXPECT_FALSE(SlangSetChild(Value("grid"), 0, Value("0"), err));
    EXPECT_NE(err.find("more than one dimension"), std::string::npos);
    ASSERT_TRUE(SlangSetGlobal(0, "text", Value("\"short\""), err)) << err;
    ASSERT_TRUE(SlangDescribe(Value("text"), t, err));
    EXPECT_EQ(t.strValue, "\"short\"");
    EXPECT_FALSE(SlangSetGlobal(0, "no_such_global", Value("1"), err));
    EXPECT_FALSE(SlangSetGlobal(0, "message", Value("1"), err)); // a function
    EXPECT_EQ(SLang_get_error(), 0);
}
