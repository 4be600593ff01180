// The script parser as the component that platform/qxparser/script_parser.h describes.
//
// It reads a script in pieces and hands each statement on as soon as its end was read, so memory holds the
// longest statement and not the script. Files are UTF-8 with or without a byte order mark, or UTF-16; a byte
// that is no UTF-8 counts as a character of Windows-1252. dialect.h has the parser names, and the header of
// each splitter says what ends a statement in its dialect and what is skipped.
//
// Failures, each with a text by qxos::SetComponentErrorText: E_INVALIDARG for an unknown parser name, E_FAIL
// without a sink, for a file that can't be read and for one that is no text (it has a zero character),
// E_OUTOFMEMORY for a statement that memory doesn't hold, and what the sink returned. Every parse that has a
// sink calls ProcessingComplete once, after a failure and after a cancel too; a cancelled parse returns
// S_FALSE.
#pragma once

namespace qxscriptparser {

// Registers the component under CLSID_QXScriptParserFactory. Any thread; again is harmless.
void RegisterScriptParser();

}  // namespace qxscriptparser
