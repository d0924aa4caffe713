#pragma once

#include <orvek/plotting/drawer/GraphDrawer.h>

class CGraphWnd;
class QPainter;
class QWidget;

// The mouse, keys and context menu of a graph window, and what it paints over
// the frame bitmap (crosshair and readout, box, legend, pause mark). It lives
// on the window's thread; the window owns it.
namespace orvek_plot {

class Interaction;

// Starts listening to the widget's events; null without a widget.
Interaction* AttachInteraction(CGraphWnd* pWnd, QWidget* pWidget);
void DetachInteraction(Interaction* pInteraction);
// Paints the overlay of the window's drawer with the painter of the window's
// paint, which holds the drawer's m_csData.
void PaintInteraction(Interaction* pInteraction, CGraphDrawer* pDrawer, QPainter* pPainter)
    ORVEK_REQUIRES(pDrawer->m_csData);
// Off: the window ignores the mouse and keys, as before they existed.
void EnableInteraction(Interaction* pInteraction, bool bEnable);
// The frame bitmap with the legend and pause mark, as the user sees it
// without the cursor's marks: PNG to a file, or to the clipboard.
bool SaveComposed(Interaction* pInteraction, const wchar_t* pszPath);
bool CopyComposed(Interaction* pInteraction);

}  // namespace orvek_plot
