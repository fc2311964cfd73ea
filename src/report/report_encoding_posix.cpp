// UTF-8 is the system's text everywhere but Windows: the report keeps the text as it is.
#include "report_encoding.h"

namespace tabvet {

std::string ReportFileText(const std::string& text) {
    return text;
}

}  // namespace tabvet
