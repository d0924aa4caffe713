#pragma once

#include <orvek/platform/core/Types.h>

/// \file
/// The host's side of the tuning dialog: how a variable is described, and the
/// object through which the host hears of changes.

/// Kinds of parameter; the numbers are part of the host's interface.
enum eParamTypeV2 : std::int32_t {
  ePT_Float = 0,  ///< float variable, slider with value text
  ePT_Bool = 1,   ///< int variable, check box
  ePT_Int = 2,    ///< int variable, slider with value text
  ePT_Group = 3,  ///< no variable: starts a group (a tab page, a file section)
  ePT_List = 4,   ///< int variable, drop-down list of choices
  /// float variable, slider whose positions are spread evenly in the
  /// logarithm between two positive bounds; stored in a file as a float
  ePT_LogFloat = 5,
};

/// Called after a change, with the context given alongside and the address of
/// the changed variable.
typedef void (*PFN_PARAM_NOTIFY)(void* pContext, void* pValue);
/// Gives the pacing delay in milliseconds for one parameter.
typedef unsigned int (*PFN_PARAM_ELAPSE)(void* pContext, void* pValue);

/// One choice of an ePT_List entry.
struct tagParamChoice {
  double dValue;           ///< the variable receives it truncated toward zero
  const wchar_t* pszText;  ///< shown in the list; copied by the dialog
};

/// Describes one variable of the host (or the start of a group) to the tuning dialog.
struct tagParamInfoV2 {
  const wchar_t* pszName;      ///< label and file key; the group's title for ePT_Group
  eParamTypeV2 eType;          ///< the kind, which decides the variable's type and control
  void* pValue;                ///< the host's variable, also the parameter's identity
  double dMin;                 ///< lower bound of a slider
  double dMax;                 ///< upper bound of a slider
  PFN_PARAM_NOTIFY pfnNotify;  ///< called after a change of this variable; may be null
  void* pNotifyContext;        ///< first argument of pfnNotify
  tagParamChoice* pChoices;    ///< choices of an ePT_List, copied by the dialog
  int nChoices;                ///< number of pChoices
};

/// The older descriptor: the first seven fields of tagParamInfoV2.
struct tagParamInfo {
  const wchar_t* pszName;      ///< as tagParamInfoV2::pszName
  eParamTypeV2 eType;          ///< as tagParamInfoV2::eType
  void* pValue;                ///< as tagParamInfoV2::pValue
  double dMin;                 ///< as tagParamInfoV2::dMin
  double dMax;                 ///< as tagParamInfoV2::dMax
  PFN_PARAM_NOTIFY pfnNotify;  ///< as tagParamInfoV2::pfnNotify
  void* pNotifyContext;        ///< as tagParamInfoV2::pNotifyContext
};

/// The host derives from this to hear of changes and to set the pacing delay.
class ORVEK_API CDlgParamTuneNotify {
 public:
  /// Called after a change of the variable at pValue; does nothing here.
  virtual void OnParamChanged(void* pValue);
  /// The pacing delay in milliseconds for the variable at pValue; 20 here.
  virtual unsigned int GetParamNotifyElapse(void* pValue);
  /// The change callback that forwards to the object given as context; a null
  /// context does nothing.
  static void OnParamChanged(void* pContext, void* pValue);
};
