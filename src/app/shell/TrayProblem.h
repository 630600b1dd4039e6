#pragma once

#include "shell/TrayPresentation.h"

// `shown` with the last refresh's failure (`problem`, in plain words, one line per account)
// added to the tooltip's title: hosts that show no label show the title alone. One line of it:
// several accounts' lines would make a tooltip taller than it is useful.
TrayPresentation withRefreshProblem(TrayPresentation shown, const QString &problem);
