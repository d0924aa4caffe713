#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <orvek/platform/core/Types.h>

class CWnd;

// The parts of the tuning dialog that need the widgets behind its controls:
// text that must fit its cell on one line, and the editor for typed values.
// No Qt type shows here; the dialog itself stays on the window layer.
namespace tuning_text {

// Makes the dialog's font name resolve to a face with the metrics of the
// 8-point sans serif that its cell sizes were drawn for (Arial's widths),
// where the system has one. Affects that font name only.
void PreferMetricFace();

// Width of the text in the control's font, in logical pixels, rounded up.
int TextWidth(const CWnd& control, const wchar_t* text);

// Shows the text on one line. When it is wider than the room the control
// gives it, even set up to half a pixel tighter per character, it is cut with an ellipsis at the right and the whole
// text goes into the tooltip. The control's window text stays the whole text.
void FitOneLine(CWnd& control, const wchar_t* text);

// Sets the control's font as tight as FitOneLine does so that the widest of
// the texts fits the room, if it can, and gives the width that the widest
// then takes (more than the room when it cannot fit).
int FitTexts(CWnd& control, const std::vector<std::wstring>& texts, int room);

// A static text that never wraps.
void SetSingleLine(CWnd& control);

// A number typed by the user: '.' or ',' before the decimals, no grouping.
// False for anything else, and for a number that is not finite.
bool ParseNumber(const std::wstring& text, double* value);

// The editor of a typed value, one per dialog. Watch() makes a double click
// on a value text, or Enter on a focused slider, ask for the editor of that
// entry through the callback given to the constructor.
class ValueEditor {
 public:
  explicit ValueEditor(std::function<void(int)> request);
  ~ValueEditor();
  ValueEditor(const ValueEditor&) = delete;
  ValueEditor& operator=(const ValueEditor&) = delete;

  void Watch(CWnd& slider, CWnd& valueText, int index);
  // Opens a line editor with the text over the rectangle (client coordinates
  // of the dialog), all text selected. Enter hands the text to commit, which
  // closes the editor by returning true; Escape, or the focus going
  // elsewhere, closes it without a change. An editor already open is closed
  // first, without a change.
  void Open(CWnd& dialog, const RECT& rect, const wchar_t* text, int index,
            std::function<bool(const std::wstring&)> commit);
  void Close();
  // The entry whose editor is open, or -1.
  int EditingIndex() const;

  struct Impl;

 private:
  Impl* impl();
  std::function<void(int)> m_request;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace tuning_text
