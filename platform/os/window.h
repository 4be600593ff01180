// Message windows: handles that messages are sent to, each with a procedure that its own thread runs. On
// Windows these are the system's own; elsewhere they live inside the process and are never seen.
//
//   Ownership: a window belongs to the thread that created it. Its procedure runs on that thread and on no
//   other, and only while the thread pumps (RunMessages, PumpMessages), sends to a window of its own, or
//   waits in SendMessageA for another thread. The end of a thread destroys its windows.
//   Handles: the handle of a destroyed window is dead, and may be used as such from any thread. Outside of
//   Windows no other window gets it ever again.
//   Messages: a program numbers its own messages from WM_USER on. Those sent come before those posted, each
//   kind in the order in which it came.
#pragma once

#include <functional>

#include "platform/export.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <cstdint>

// An opaque handle; null is no window.
struct HWND__;
using HWND = HWND__*;
using UINT = unsigned int;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;

constexpr UINT WM_QUIT = 0x0012;
constexpr UINT WM_USER = 0x0400;
constexpr UINT QS_POSTMESSAGE = 0x0008;
constexpr UINT QS_SENDMESSAGE = 0x0040;

// Runs the window's procedure with the message and returns its result. On the window's own thread that is a
// plain call. From another thread it waits, without limit, until the owner's pump has run the procedure;
// while it waits it answers messages sent to windows of the calling thread, so two threads may send to each
// other. 0 when there is no such window, or when the window is destroyed before its procedure has begun. What
// `lParam` points to is the receiver's until the call returns.
QXSENG2_API LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// Puts the message behind those that wait, for the pump of the window's thread, and returns at once. WM_QUIT
// ends that thread's RunMessages with the code `wParam` once the other posted messages are done. 0 when there
// is no such window, or when 10,000 messages wait there already. Any thread.
QXSENG2_API int PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// Ends the calling thread's RunMessages once the posted messages are done.
QXSENG2_API void PostQuitMessage(int exitCode);

// Not 0 while the window exists. Any thread; the answer about another thread's window may be out of date at
// once.
QXSENG2_API int IsWindow(HWND window);

// Drops what was posted to the window and lets those who wait for it go with 0; a procedure of it that is
// under way ends normally. Only on the window's own thread, also within its procedure: 0 and no effect
// elsewhere, and for a window that does not exist.
QXSENG2_API int DestroyWindow(HWND window);

// Which kinds of messages wait for the calling thread, of those that `kinds` asks for (QS_SENDMESSAGE,
// QS_POSTMESSAGE): 0 when there are none. The kinds stand in the high word; the low word is not for programs,
// since the systems differ there. For loops that wait for other things as well.
QXSENG2_API unsigned long GetQueueStatus(UINT kinds);

#endif

namespace qxos {

// Exceptions stay on the window's thread: to the sender the call returns 0, and the exception leaves the pump
// that ran the procedure. A thread that ran it while waiting in SendMessageA finishes that wait first; the
// exception then leaves that SendMessageA. Should there be a second one by then, its arrival goes to the
// debug output alone.
using WindowProcedure = std::function<LRESULT(HWND window, UINT message, WPARAM wParam, LPARAM lParam)>;

// A window of the calling thread, which the procedure belongs to from now on: it is destroyed there, with the
// window or when a call of it that is under way has ended. Null when the procedure is empty, and on a thread
// that is about to end. Memory that runs out throws std::bad_alloc.
QXSENG2_API HWND CreateMessageWindow(WindowProcedure procedure);

// Handles messages for the windows of the calling thread until it is told to quit, and returns the exit code.
QXSENG2_API int RunMessages();

// Handles the messages that are there for windows of the calling thread, as many as there were at the
// beginning. When there are none it waits for the first, at most for `timeoutMs`; 0 does not wait, a negative
// time is no limit. True when anything was handled. A quit stays where it is, for RunMessages.
QXSENG2_API bool PumpMessages(long timeoutMs);

}  // namespace qxos
