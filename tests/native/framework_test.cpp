// The portable framework: CString, CArray, CPoint/CSize/CRect, exceptions.
#include "framework/afx.h"
#include "test_util.h"
#include <set>

TEST(CStringTest, FindAndExtractionClamp)
{
    const CString s(L"abcabc");
    EXPECT_EQ(1, s.Find(L'b'));
    EXPECT_EQ(4, s.Find(L'b', 2));
    EXPECT_EQ(-1, s.Find(L'b', 6));
    EXPECT_EQ(3, s.Find(L"abc", 1));
    EXPECT_EQ(-1, s.Find(L"abc", 7));

    EXPECT_EQ(CString(L"ab"), s.Left(2));
    EXPECT_EQ(CString(), s.Left(-3));
    EXPECT_EQ(CString(L"cab"), s.Mid(2, 3));
    EXPECT_EQ(s, s.Mid(-5));
    EXPECT_EQ(CString(), s.Mid(10));
    EXPECT_EQ(CString(L"bc"), s.Mid(4, 50));
    EXPECT_EQ(CString(L"bc"), s.Right(2));
    EXPECT_EQ(s, s.Right(10));
    EXPECT_EQ(CString(), s.Right(-1));
}

TEST(CStringTest, EditingClamps)
{
    CString s(L"abc");
    EXPECT_EQ(4, s.Insert(-2, L'X'));
    EXPECT_EQ(CString(L"Xabc"), s);
    EXPECT_EQ(6, s.Insert(99, L"YZ"));
    EXPECT_EQ(CString(L"XabcYZ"), s);
    EXPECT_EQ(4, s.Delete(-1, 2));
    EXPECT_EQ(CString(L"bcYZ"), s);
    EXPECT_EQ(2, s.Delete(2, 100));
    EXPECT_EQ(2, s.Delete(5, 1));
    EXPECT_EQ(2, s.Delete(0, 0));
    EXPECT_EQ(CString(L"bc"), s);

    CString r(L"aaa");
    EXPECT_EQ(3, r.Replace(L"a", L"aa")); // replacements are not searched again
    EXPECT_EQ(CString(L"aaaaaa"), r);
    EXPECT_EQ(6, r.Remove(L'a'));
    EXPECT_TRUE(r.IsEmpty());
}

TEST(CStringTest, CheckedAccessAndBuffer)
{
    CString s(L"ab");
    EXPECT_EQ(L'b', s.GetAt(1));
    EXPECT_EQ(L'a', s[0]);
    ExpectInvalidArg([&] { s.GetAt(2); });
    ExpectInvalidArg([&] { s.GetAt(-1); });
    ExpectInvalidArg([&] { s.SetAt(2, L'x'); });
    s.SetAt(0, L'z');
    EXPECT_EQ(CString(L"zb"), s);

    wchar_t* p = s.GetBuffer(10);
    p[0] = L'q';
    p[1] = 0;
    s.ReleaseBuffer();
    EXPECT_EQ(CString(L"q"), s);
    EXPECT_EQ(CString(L"xxx"), CString(L'x', 3));
    EXPECT_EQ(CString(), CString(L'x', -1));
}

TEST(CStringTest, FormatAndCompare)
{
    CString s;
    s.Format(L"%d-%ls-%05.1f", -42, L"wide", 2.5);
    EXPECT_EQ(CString(L"-42-wide-002.5"), s);
    s.AppendFormat(L"[%x]", 255);
    EXPECT_EQ(CString(L"[ff]"), s.Right(4));
    // Output longer than the first buffer still comes out whole.
    s.Format(L"%600d", 7);
    EXPECT_EQ(600, s.GetLength());
    EXPECT_EQ(L'7', s.GetAt(599));

    EXPECT_LT(CString(L"B").Compare(L"a"), 0); // ordinal, so upper case sorts first
    EXPECT_EQ(0, CString(L"AbC").CompareNoCase(L"aBc"));
    EXPECT_GT(CString(L"abd").CompareNoCase(L"ABC"), 0);

    // Ordering makes CString usable as a set key.
    std::set<CString> set{CString(L"b"), CString(L"a"), CString(L"B"), CString(L"a")};
    ASSERT_EQ(3u, set.size());
    EXPECT_EQ(CString(L"B"), *set.begin());
    EXPECT_EQ(CString(L"b"), *set.rbegin());
}

TEST(CArrayTest, CheckedAccessAndGrowth)
{
    CArray<int, int> a;
    a.SetSize(3);
    EXPECT_EQ((std::vector<int>{0, 0, 0}), std::vector<int>(a.GetData(), a.GetData() + 3));
    a[1] = 5;
    EXPECT_EQ(5, a.GetAt(1));
    EXPECT_EQ(2, a.GetUpperBound());
    ExpectInvalidArg([&] { a.GetAt(3); });
    ExpectInvalidArg([&] { a[-1]; });
    ExpectInvalidArg([&] { a.SetAt(3, 1); });
    ExpectInvalidArg([&] { a.RemoveAt(2, 2); });
    ExpectInvalidArg([&] { a.SetSize(-1); });

    a.InsertAt(5, 9); // past the end: grows with zeros first
    ASSERT_EQ(6, a.GetSize());
    EXPECT_EQ(0, a[3]);
    EXPECT_EQ(9, a[5]);
    a.InsertAt(0, 7, 2);
    EXPECT_EQ(8, a.GetSize());
    EXPECT_EQ(7, a[1]);
    a.RemoveAt(0, 3);
    EXPECT_EQ(5, a[0]);
    a.SetAtGrow(7, 3);
    EXPECT_EQ(8, a.GetSize());
    EXPECT_EQ(0, a[6]);
}

TEST(GeometryTest, PointSizeRect)
{
    CPoint p(3, 4);
    p += CSize(1, -1);
    EXPECT_EQ(CPoint(4, 3), p);
    EXPECT_EQ(CSize(2, 1), p - CPoint(2, 2));

    CRect r(10, 20, 30, 60);
    EXPECT_EQ(CPoint(20, 40), r.CenterPoint());
    EXPECT_TRUE(r.PtInRect(CPoint(10, 20)));
    EXPECT_FALSE(r.PtInRect(CPoint(30, 59))); // right and bottom are outside
    EXPECT_EQ(CRect(15, 25, 30, 60), r & CRect(15, 25, 99, 99));
    EXPECT_TRUE((r & CRect(30, 20, 40, 60)).IsRectNull()); // touching is empty
    EXPECT_EQ(CRect(0, 0, 30, 60), r | CRect(0, 0, 5, 5));
    EXPECT_EQ(r, r | CRect(50, 50, 50, 90)); // an empty rectangle adds nothing

    CRect n(5, 6, 1, 2);
    EXPECT_TRUE(n.IsRectEmpty());
    n.NormalizeRect();
    EXPECT_EQ(CRect(1, 2, 5, 6), n);
}

TEST(ExceptionTest, MessagesAndDeletion)
{
    try {
        AfxThrowMemoryException();
    } catch (CException* e) {
        wchar_t buf[4];
        UINT help = 99;
        EXPECT_TRUE(e->GetErrorMessage(buf, 4, &help));
        EXPECT_STREQ(L"Out", buf); // truncated to the buffer
        EXPECT_EQ(0u, help);
        EXPECT_FALSE(e->GetErrorMessage(nullptr, 4));
        EXPECT_NE(nullptr, dynamic_cast<CMemoryException*>(e));
        e->Delete();
    }
    CException keep(FALSE); // not allocated for a throw: Delete leaves it alone
    keep.Delete();
    EXPECT_STREQ(L"Unknown exception", keep.Message());
}
