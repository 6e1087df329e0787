// The in-comment flag that CSampleColorizer::SetLineColors leaves after a
// line, found without colouring it: the text store uses it to follow the
// block-comment state over lines it does not colour yet.
#pragma once
#include "../framework/afxstr.h"

bool SampleCommentFlagAfter(const CString& line, bool bInComment);

// Whether a line holds a "/*" or a "*/" (one pass over its slashes).
bool HasCommentDelimiter(const CString& line);
