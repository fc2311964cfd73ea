// The files a headless run leaves behind: the text report and the JSON results.
#pragma once

#include <ostream>

#include "headless_options.h"
#include "report/baseline.h"
#include "session/main_state.h"

namespace tabvet {

/// Checks, before anything runs, that each requested output file can be written, without changing any
/// file. Says on `err` which one cannot and why; false then.
bool CheckOutputFiles(const HeadlessOptions& options, std::ostream& err);

/// Writes the requested report and JSON results of the model's last run, replacing existing files; the JSON
/// with `comparison` when the run was compared with a baseline. A file that cannot be written is reported on
/// `err`; false then. The other file is still attempted.
bool WriteOutputFiles(const MainState& state, const HeadlessOptions& options,
                      const BaselineComparison* comparison, std::ostream& err);

}  // namespace tabvet
