#pragma once

#include "drivers/simulated/reports.h"

/// Keeps count of the callbacks that have returned in the file that KESTRUNE_DRIVER_COUNTS names,
/// if it names one. Complains once where that file cannot be had. Any thread.
void countReports(ReportKind kind, int callbacks);
void countNotices(int callbacks);
