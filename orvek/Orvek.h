#pragma once

/// \file
/// The whole public interface of the Orvek library.

#include <orvek/platform/core/File.h>
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>
#include <orvek/platform/core/Rect.h>
#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/ThreadSafety.h>
#include <orvek/platform/core/Types.h>
#include <orvek/platform/gfx/Gdiplus.h>
#include <orvek/platform/gfx/GraphicsSession.h>
#include <orvek/platform/ui/Controls.h>
#include <orvek/platform/ui/Dc.h>
#include <orvek/platform/ui/Gdi.h>
#include <orvek/platform/ui/Messages.h>
#include <orvek/platform/ui/Wnd.h>

#include <orvek/frame/OrvekGlobals.h>

#include <orvek/threads/MTPtrStorage.h>
#include <orvek/threads/ResourceLock.h>
#include <orvek/threads/TempObjects.h>
#include <orvek/threads/ThreadControl.h>
#include <orvek/threads/Timers.h>

#include <orvek/tuning/dialog/DlgParamTune.h>
#include <orvek/tuning/model/ParamRules.h>
#include <orvek/tuning/model/ParamTypes.h>

#include <orvek/persistence/IniFile.h>
#include <orvek/persistence/LogFile.h>
#include <orvek/persistence/SizeStructFile.h>

#include <orvek/tables/TableArrayDrawer.h>
#include <orvek/tables/TableDrawer.h>

#include <orvek/plotting/drawer/AxesDrawerBase.h>
#include <orvek/plotting/drawer/GraphDrawer.h>
#include <orvek/plotting/drawer/PlotElementTypes.h>
#include <orvek/plotting/drawer/PlotView.h>
#include <orvek/plotting/windows/GraphWnd.h>
#include <orvek/plotting/windows/GraphsWindow.h>

#include <orvek/signal/CircleBuffer.h>
#include <orvek/signal/Filters.h>
#include <orvek/signal/LinInterp.h>
#include <orvek/signal/ScatteredArray.h>
#include <orvek/signal/SoftValueChanger.h>
