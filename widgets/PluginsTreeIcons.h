// The three icons of the plug-ins tree, drawn rather than loaded, so that they
// are crisp at every scale and the library carries no image files.
#pragma once

#include <QIcon>
#include <QList>

// Image 0: a plug-in (a plug), 1: a function (a diamond), 2: a signature (a
// sheet with lines); each 16 by 16, with a double-resolution version.
QList<QIcon> DrawPluginsTreeIcons();
