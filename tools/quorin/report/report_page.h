#pragma once

#include <string>

#include "report/report_data.h"

namespace quorin_command {

/// Writes a page that holds everything it needs: no network is touched, and its content security policy sees to that.
/// @param name what the scan is called; shown so that it can do no harm
void writePage(const std::string& name, const ReportData& data, const Sink& sink);

}  // namespace quorin_command
