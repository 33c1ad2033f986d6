// tw_varlib_widgets: the plug-ins information dialog, on Qt 6 Widgets, and
// CUtility's fillers of its controls (AddToRichText, ListInsertRow). Link
// tw::varlib_widgets (find_package(tw_varlib COMPONENTS widgets)).
#pragma once

#include "tw_varlib.h"
#include "widgets/PluginsInfoDlg.h"
