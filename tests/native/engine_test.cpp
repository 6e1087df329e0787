// The value tip's lookup over images of the engine's records: the texts of
// every type, the choice of function by line, locals by table and by the
// objects' own names, the namespaces, the index and field rules, and
// records that are broken on purpose.
#include "engine/ScriptLookup.h"
#include "engine/ProcessMemory.h"
#include "engine/RecordWalker.h"
#include "engine/ValueFormat.h"
#include "tests/support/RecordImage.h"
#include <gtest/gtest.h>
#include <map>
#include <sys/mman.h>

namespace {

const uint32_t kBase = 0x10000;

// Namespaces of a test engine: names to objects in the image, to values
// read by push, or to other kinds.
class CTestNamespaces : public IVelmorEngineNamespaces
{
public:
    std::map<std::string, uint32_t> objects;
    std::map<std::string, CVelmorValue> values;
    std::vector<std::string> others;
    std::vector<std::string> asked;
    int FindName(const char* pszName, void*, const CVelmorMemory&, CVelmorNameHit& hit) override
    {
        asked.push_back(pszName);
        if (objects.count(pszName)) {
            hit.object = objects[pszName];
            return hit.nKind = CVelmorNameHit::kObject;
        }
        if (values.count(pszName)) {
            hit.value = values[pszName];
            return hit.nKind = CVelmorNameHit::kValue;
        }
        for (auto& o : others)
            if (o == pszName)
                return hit.nKind = CVelmorNameHit::kOther;
        return CVelmorNameHit::kNotFound;
    }
};

// A script with three functions (first lines 10, 20, 30; the list holds
// them newest first). f20 has a local-name table, f30 locals found by the
// objects' own names.
struct Script
{
    CRecordImage img{kBase};
    uint32_t list = 0, frame20 = 0, frame30 = 0;
    CTestNamespaces ns;

    Script()
    {
        frame20 = img.Frame(8);
        const uint32_t t20 = img.LocalTable({{"count", 0}, {"ratio", 1}, {"name", 2}, {"arr", 3}, {"i", 4},
                                             {"pos", 5}, {"big", 6}, {"c", 7}});
        img.IntObject(img.Slot(frame20, 0), VELMOR_T_INT, (uint32_t)-42);
        img.DoubleObject(img.Slot(frame20, 1), 0.5);
        img.IntObject(img.Slot(frame20, 2), VELMOR_T_STRING, img.Text("hello"));
        img.IntObject(img.Slot(frame20, 3), VELMOR_T_ARRAY, img.ArrayOf<int32_t>(VELMOR_T_INT, {7, 8, 9, 10}));
        img.IntObject(img.Slot(frame20, 4), VELMOR_T_INT, 2);
        const uint32_t pos = img.Struct({"x", "y"});
        img.IntObject(img.FieldObject(pos, 0), VELMOR_T_INT, 3);
        img.IntObject(img.FieldObject(pos, 1), VELMOR_T_INT, 4);
        img.IntObject(img.Slot(frame20, 5), VELMOR_T_STRUCT, pos);
        img.IntObject(img.Slot(frame20, 6), VELMOR_T_UINT, 4294967295u);
        img.IntObject(img.Slot(frame20, 7), VELMOR_T_CHAR, 0xFF);

        frame30 = img.Frame(3);
        img.IntObject(img.Slot(frame30, 0), VELMOR_T_INT, 1, img.NameRecord("first"));
        img.IntObject(img.Slot(frame30, 2), VELMOR_T_SHORT, 0xFFFE, img.NameRecord("third"));

        const uint32_t f10 = img.Function(10, 0, false, 0, 0);
        const uint32_t f20 = img.Function(20, 8, true, t20, f10);
        list = img.Function(30, 3, false, 0, f20);

        const uint32_t g = img.NewObject();
        img.IntObject(g, VELMOR_T_INT, 77);
        ns.objects["glob"] = g;
        ns.values["intrinsic"] = CVelmorValue::Real(VELMOR_T_DOUBLE, 2.25);
        ns.others = {"printf"};
    }

    // A lookup as the control makes it: the list installed once before
    // (the lookup searches the list of the call before it).
    std::string Look(int line, const std::string& word, uint32_t frame, bool* found = nullptr)
    {
        CArenaMemory mem = img.Memory();
        IVelmorEngineNamespaces* old = VelmorRegisterEngineNamespaces(&ns);
        CVelmorLookup lookup;
        char buf[1024] = {};
        lookup.Lookup(mem, line, buf, nullptr, nullptr, (void*)(uintptr_t)list);
        snprintf(buf, sizeof buf, "%s", word.c_str());
        const int r = lookup.Lookup(mem, line, buf, nullptr, (void*)(uintptr_t)frame, (void*)(uintptr_t)list);
        VelmorRegisterEngineNamespaces(old);
        if (found)
            *found = r != 0;
        return buf;
    }
};

std::string Format(const CVelmorValue& v, const std::string& field = "", long long index = -1,
                   const std::string& name = "v")
{
    std::string s;
    return VelmorFormatValue(s, name, v, field, index) ? s : "<none>";
}

} // namespace

TEST(ValueFormat, ScalarsStringsAndTheSigned32BitRule)
{
    EXPECT_EQ(Format(CVelmorValue::Int(VELMOR_T_INT, -5)), "v=-5");
    EXPECT_EQ(Format(CVelmorValue::Int(VELMOR_T_UINT, 4294967295LL)), "v=-1");
    EXPECT_EQ(Format(CVelmorValue::Int(VELMOR_T_ULONG, 4294967294LL)), "v=-2");
    EXPECT_EQ(Format(CVelmorValue::Int(VELMOR_T_CHAR, -3)), "v=-3");
    EXPECT_EQ(Format(CVelmorValue::Int(VELMOR_T_USHORT, 65535)), "v=65535");
    EXPECT_EQ(Format(CVelmorValue::Real(VELMOR_T_DOUBLE, 1.5)), "v=1.500000");
    EXPECT_EQ(Format(CVelmorValue::Real(VELMOR_T_FLOAT2, 0.25)), "v=0.250000");
    EXPECT_EQ(Format(CVelmorValue::String("a b")), "v=\"a b\"");
    EXPECT_EQ(Format(CVelmorValue::Int(99, 1)), "<none>");
    // Cut to 1023 characters.
    EXPECT_EQ(Format(CVelmorValue::String(std::string(3000, 'x'))).size(), 1023u);
}

TEST(ValueFormat, ArraysElementByElementType)
{
    CVelmorValue a;
    a.nType = VELMOR_T_ARRAY;
    a.nLength = 3;
    auto el = [&](int type, CVelmorValue e) {
        a.nElemType = type;
        a.elements = {CVelmorValue(), e, CVelmorValue()};
        return Format(a, "", 1, "arr");
    };
    EXPECT_EQ(el(VELMOR_T_INT, CVelmorValue::Int(VELMOR_T_INT, 5)), "arr[1]=5\n");
    EXPECT_EQ(el(VELMOR_T_UINT, CVelmorValue::Int(VELMOR_T_UINT, 4294967295LL)), "arr[1]=-1\n");
    EXPECT_EQ(el(VELMOR_T_ULONG, CVelmorValue::Int(VELMOR_T_ULONG, 4294967295LL)), "arr[1]=4294967295\n");
    EXPECT_EQ(el(VELMOR_T_DOUBLE, CVelmorValue::Real(VELMOR_T_DOUBLE, 2)), "arr[1]=2.000000\n");
    EXPECT_EQ(el(VELMOR_T_FLOAT, CVelmorValue::Real(VELMOR_T_FLOAT, 0.5)), "arr[1]=0.500000\n");
    EXPECT_EQ(el(VELMOR_T_CHAR, CVelmorValue::Int(VELMOR_T_CHAR, 'A')), "arr[1]=A\n");
    EXPECT_EQ(el(VELMOR_T_STRING, CVelmorValue::String("s")), "arr[1]=s\n");
    CVelmorValue s;
    s.nType = VELMOR_T_STRUCT;
    s.fields = {{"x", CVelmorValue::Int(VELMOR_T_INT, 1)}, {"y", CVelmorValue::Int(VELMOR_T_INT, 2)}};
    EXPECT_EQ(el(VELMOR_T_STRUCT, s), "arr[1]=\n\tx=1\n\ty=2\n");
    EXPECT_EQ(el(VELMOR_T_FLOAT2, CVelmorValue::Real(VELMOR_T_FLOAT2, 1)), "<none>");
    // No index: element 0. Beyond the end or not supplied: nothing.
    a.nElemType = VELMOR_T_INT;
    a.elements = {CVelmorValue::Int(VELMOR_T_INT, 9)};
    a.nLength = 1;
    EXPECT_EQ(Format(a, "", -1, "arr"), "arr[0]=9\n");
    EXPECT_EQ(Format(a, "", 1, "arr"), "<none>");
    a.nLength = 0;
    EXPECT_EQ(Format(a, "", -1, "arr"), "<none>");
}

TEST(ValueFormat, StructuresAndIntrinsicStructures)
{
    CVelmorValue inner;
    inner.nType = VELMOR_T_STRUCT;
    inner.fields = {{"a", CVelmorValue::String("t")}};
    CVelmorValue pos;
    pos.nType = VELMOR_T_STRUCT;
    pos.fields = {{"x", CVelmorValue::Int(VELMOR_T_INT, 3)}, {"in", inner}, {"odd", CVelmorValue::Int(77, 0)}};
    // A nested structure brings its own line feed, and gets one more.
    EXPECT_EQ(Format(pos, "", -1, "pos"), "pos\n\tx=3\n\tin\n\ta=\"t\"\n\n\todd\n");
    EXPECT_EQ(Format(pos, "x", -1, "pos"), "pos.x=3");
    EXPECT_EQ(Format(pos, "nope", -1, "pos"), "pos.");

    CVelmorValue is;
    is.nType = VELMOR_T_ISTRUCT;
    is.fields = {{"n", CVelmorValue::Int(VELMOR_T_SHORT, -2)}, {"d", CVelmorValue::Real(VELMOR_T_DOUBLE, 1)},
                 {"f", CVelmorValue::Real(VELMOR_T_FLOAT, 0.5)}, {"c", CVelmorValue::Int(VELMOR_T_CHAR, 'z')},
                 {"u", CVelmorValue::Int(VELMOR_T_ULONG, 4294967295LL)}, {"s", CVelmorValue::String("str")},
                 {"skip", CVelmorValue::Int(VELMOR_T_STRUCT, 0)}};
    EXPECT_EQ(Format(is, "", -1, "sys"),
              "sys\n\t.n=-2\n\t.d=1.000000\n\t.f=0.500000\n\t.c=z\n\t.u=4294967295\n\t.s=str\n");
    EXPECT_EQ(Format(is, "c", -1, "sys"), "sys\t.c=z\n");
    EXPECT_EQ(Format(is, "none", -1, "sys"), "sys");
}

TEST(RecordWalker, FunctionByLineLocalsByTableAndByObjectNames)
{
    Script s;
    EXPECT_EQ(s.Look(25, "count", s.frame20), "count=-42");
    EXPECT_EQ(s.Look(25, "ratio", s.frame20), "ratio=0.500000");
    EXPECT_EQ(s.Look(25, "name", s.frame20), "name=\"hello\"");
    EXPECT_EQ(s.Look(25, "big", s.frame20), "big=-1");
    EXPECT_EQ(s.Look(25, "c", s.frame20), "c=-1");
    // The line picks the function: at line 35 the locals are f30's, found
    // by the names their objects carry.
    EXPECT_EQ(s.Look(35, "first", s.frame30), "first=1");
    EXPECT_EQ(s.Look(35, "third", s.frame30), "third=-2");
    bool found = true;
    EXPECT_EQ(s.Look(35, "count", s.frame30, &found), "count");
    EXPECT_FALSE(found);
    // Line 10 is not below any first line: no function, no locals; the
    // namespaces still answer.
    EXPECT_EQ(s.Look(10, "count", s.frame20, &found), "count");
    EXPECT_FALSE(found);
    EXPECT_EQ(s.Look(10, "glob", s.frame20), "glob=77");
    EXPECT_EQ(s.Look(25, "intrinsic", s.frame20), "intrinsic=2.250000");
    EXPECT_EQ(s.Look(25, "printf", s.frame20, &found), "printf");
    EXPECT_TRUE(found);
    // Without a frame installed, the table's names are not compared.
    EXPECT_EQ(s.Look(25, "count", 0, &found), "count");
    EXPECT_FALSE(found);
}

TEST(RecordWalker, IndexAndFieldRules)
{
    Script s;
    EXPECT_EQ(s.Look(25, "arr", s.frame20), "arr[0]=7\n");
    EXPECT_EQ(s.Look(25, "arr[3]", s.frame20), "arr[3]=10\n");
    EXPECT_EQ(s.Look(25, "arr[i]", s.frame20), "arr[2]=9\n");       // i = 2
    EXPECT_EQ(s.Look(25, "arr[0]", s.frame20), "arr[0]=7\n");       // "0" is a number
    EXPECT_EQ(s.Look(25, "arr[nothere]", s.frame20), "arr[0]=7\n"); // not found: 0
    EXPECT_EQ(s.Look(25, "arr[name]", s.frame20), "arr[0]=7\n");    // no number after '='
    EXPECT_EQ(s.Look(25, "arr[9]", s.frame20), "arr");              // beyond the end: the name
    EXPECT_EQ(s.Look(25, "pos", s.frame20), "pos\n\tx=3\n\ty=4\n");
    EXPECT_EQ(s.Look(25, "pos.y", s.frame20), "pos.y=4");
}

TEST(RecordWalker, EngineTypesNestedRecordsAndIntrinsicStructures)
{
    CRecordImage img(kBase);
    const uint32_t frame = img.Frame(6);
    const uint32_t table = img.LocalTable({{"p", 0}, {"f", 1}, {"names", 2}, {"pts", 3}, {"sys", 4}, {"u8", 5}});
    const uint32_t target = img.Alloc(4);
    img.Put<int32_t>(target, 1234);
    img.IntObject(img.Slot(frame, 0), VELMOR_T_INTP, target);
    img.Object(img.Slot(frame, 1), VELMOR_T_FLOAT);
    img.Put<float>(img.Slot(frame, 1) + 8, 1.25f);
    img.IntObject(img.Slot(frame, 2), VELMOR_T_ARRAY,
                  img.ArrayOf<uint32_t>(VELMOR_T_STRING, {img.Text("zero"), img.Text("one")}));
    const uint32_t pt = img.Struct({"x", "tag"});
    img.IntObject(img.FieldObject(pt, 0), VELMOR_T_USHORT, 65535);
    img.IntObject(img.FieldObject(pt, 1), VELMOR_T_STRING, img.Text("t"));
    img.IntObject(img.Slot(frame, 3), VELMOR_T_ARRAY, img.ArrayOf<uint32_t>(VELMOR_T_STRUCT, {pt, pt}));
    const uint32_t data = img.Alloc(32);
    img.Put<int16_t>(data, -7);
    img.Put<double>(data + 8, 3.5);
    img.Put<uint32_t>(data + 16, img.Text("in C"));
    img.IntObject(img.Slot(frame, 4), VELMOR_T_ISTRUCT,
                  img.IStruct({{"n", {0, VELMOR_T_SHORT}}, {"d", {8, VELMOR_T_DOUBLE}}, {"s", {16, VELMOR_T_STRING}}},
                              data));
    img.IntObject(img.Slot(frame, 5), VELMOR_T_UCHAR, 200);
    const uint32_t fn = img.Function(1, 6, true, table, 0);

    CArenaMemory mem = img.Memory();
    CRecordWalker w(mem, fn, frame, nullptr, nullptr);
    auto look = [&](const char* word) {
        char buf[1024];
        snprintf(buf, sizeof buf, "%s", word);
        return VelmorResolveVariable(w, buf, sizeof buf) ? std::string(buf) : std::string("<not found>");
    };
    EXPECT_EQ(look("p"), "p=1234");
    EXPECT_EQ(look("f"), "f=1.250000");
    EXPECT_EQ(look("names[1]"), "names[1]=one\n");
    EXPECT_EQ(look("pts[1]"), "pts[1]=\n\tx=65535\n\ttag=\"t\"\n");
    EXPECT_EQ(look("sys"), "sys\n\t.n=-7\n\t.d=3.500000\n\t.s=in C\n");
    EXPECT_EQ(look("sys.d"), "sys\t.d=3.500000\n");
    EXPECT_EQ(look("u8"), "u8=200");
    EXPECT_EQ(look("nothere"), "<not found>");
}

TEST(RecordWalker, BrokenRecordsGiveNotFoundAndEndTheirWalks)
{
    Script s;
    CRecordImage& img = s.img;
    // A chain that loops back on itself, with no first line below 5.
    const uint32_t a = img.Function(100, 0, false, 0, 0);
    const uint32_t b = img.Function(200, 0, false, 0, a);
    img.Put<uint32_t>(a + 36, b);
    CArenaMemory mem = img.Memory();
    EXPECT_EQ(CRecordWalker::FindFunction(mem, b, 5), 0u);
    EXPECT_EQ(CRecordWalker::FindFunction(mem, b, 150), a);
    // A pointer outside the image, and null.
    EXPECT_EQ(CRecordWalker::FindFunction(mem, 0xDEAD0000u, 50), 0u);
    EXPECT_EQ(CRecordWalker::FindFunction(mem, 0, 50), 0u);

    // A local table without an end entry that runs off the image, and a
    // name without a terminator at the image's end.
    const uint32_t frame = img.Frame(1);
    img.IntObject(frame, VELMOR_T_INT, 5);
    const uint32_t tablePtr = img.Alloc(4);
    const uint32_t table = img.Alloc(16 * 4);
    img.Put<uint32_t>(tablePtr, table);
    for (uint32_t i = 0; i < 4; ++i) {
        img.Put<uint8_t>(table + 16 * i, 1);
        img.Put<uint32_t>(table + 16 * i + 12, 0xFFFFFF00u); // a name record nowhere
    }
    const uint32_t fn = img.Function(1, 1, true, tablePtr, 0);
    const uint32_t nameRec = img.Alloc(4);
    const uint32_t name = img.Alloc(3, 1);
    img.Put<uint32_t>(nameRec, name);
    img.Put<uint8_t>(name, 'a'), img.Put<uint8_t>(name + 1, 'b'), img.Put<uint8_t>(name + 2, 'c');
    img.Put<uint32_t>(table + 16 * 3 + 12, nameRec);
    CArenaMemory mem2 = img.Memory();
    CRecordWalker w(mem2, fn, frame, nullptr, nullptr);
    CVelmorValue v;
    EXPECT_EQ(w.FindValue("abc", -1, v), IVelmorValueSource::kNotFound);
    EXPECT_EQ(w.FindValue("ab", -1, v), IVelmorValueSource::kNotFound);

    // A structure whose three fields are itself: eight levels of three
    // fields are more values than one lookup reads, so it is given up.
    const uint32_t self = img.Struct({"me", "me2", "me3"});
    for (int i = 0; i < 3; ++i)
        img.IntObject(img.FieldObject(self, i), VELMOR_T_STRUCT, self);
    const uint32_t obj = img.NewObject();
    img.IntObject(obj, VELMOR_T_STRUCT, self);
    CArenaMemory mem3 = img.Memory();
    CRecordWalker w3(mem3, 0, 0, nullptr, nullptr);
    CVelmorValue tree;
    EXPECT_FALSE(w3.ReadObject(obj, -1, 0, tree));
}

TEST(ScriptLookup, TheFunctionListLagsOneCall)
{
    Script s;
    CArenaMemory mem = s.img.Memory();
    CVelmorLookup lookup;
    char buf[1024] = "count";
    // The first lookup searches the list the previous call installed: none.
    EXPECT_EQ(lookup.Lookup(mem, 25, buf, nullptr, (void*)(uintptr_t)s.frame20, (void*)(uintptr_t)s.list), 0);
    EXPECT_STREQ(buf, "count");
    EXPECT_EQ(lookup.Lookup(mem, 25, buf, nullptr, (void*)(uintptr_t)s.frame20, nullptr), 1);
    EXPECT_STREQ(buf, "count=-42");
    strcpy(buf, "count");
    EXPECT_EQ(lookup.Lookup(mem, 25, buf, nullptr, (void*)(uintptr_t)s.frame20, (void*)(uintptr_t)s.list), 0);
}

TEST(ScriptLookup, ProcessMemoryRefusesUnmappedPages)
{
    const size_t page = 4096;
    char* p = (char*)mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(p, MAP_FAILED);
    memcpy(p + page - 3, "ab", 3);
    munmap(p + page, page);
    CProcessMemory mem;
    std::string text;
    EXPECT_TRUE(mem.ReadText((uint64_t)(uintptr_t)(p + page - 3), 100, text));
    EXPECT_EQ(text, "ab");
    memcpy(p + page - 3, "abc", 3); // no terminator before the hole
    EXPECT_FALSE(mem.ReadText((uint64_t)(uintptr_t)(p + page - 3), 100, text));
    uint32_t v;
    EXPECT_FALSE(mem.ReadU32((uint64_t)(uintptr_t)(p + page - 2), v));
    EXPECT_FALSE(mem.ReadU32(0, v));
    munmap(p, page);
    // The exported entry with garbage pointers: nothing found, no fault.
    char buf[1024] = "x";
    for (uintptr_t bad : {(uintptr_t)1, (uintptr_t)p, (uintptr_t)0xFFFFFFFFu, (uintptr_t)&mem})
        EXPECT_EQ(LookupScriptVariable(5, buf, (void*)bad, (void*)bad, (void*)bad), 0);
    EXPECT_STREQ(buf, "x");
}
