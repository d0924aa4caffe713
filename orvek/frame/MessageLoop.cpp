// The event loop lent to hosts without one, under the name of the class of
// static helpers; the window layer runs it.
#include <orvek/frame/OrvekGlobals.h>

#include <orvek/platform/ui/MessageLoop_p.h>

void COrvekGlobals::PumpMessages(DWORD dwMilliseconds) { orvek_ui::PumpMessages(dwMilliseconds); }

int COrvekGlobals::RunMessageLoop() { return orvek_ui::RunMessageLoop(); }
