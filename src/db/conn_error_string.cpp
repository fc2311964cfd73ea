// Every failure is shown with the whole error list, each entry on its own ">>>> Err#" line.
#include "conn_error_string.h"

#include "line_break.h"
#include "value.h"

namespace tabvet {

const std::string& clsConnErrorString::Build(const Connection* conn) {
    if (conn == nullptr) {
        ui_.Inform("clsConnErrorString.Build got NULL connection", "Unexpected condition");
        text_.clear();
        return text_;
    }
    const ErrorList& errors = conn->Errors();
    const std::int16_t count = RoundToInt16(errors.Count());
    if (count <= 0) {
        text_ = ">>>> No errors found on connection handle";
        return text_;
    }
    for (std::int16_t i = 1; i <= count; ++i) {
        const AdoError& error = errors.Item(i - 1);
        text_ += std::string(kCrLf) + ">>>> Err#" + std::to_string(error.Number) + ": " + error.Description;
    }
    return text_;
}

void DisplayAdoErrors(const Connection* conn, const std::string& title, IUserInteraction& ui) {
    clsConnErrorString formatter(ui);
    const std::string text = formatter.Build(conn);
    ui.ShowMessage(std::string("Errors:") + kCrLf + text, title, MsgButtons::Ok, MsgIcon::Exclamation);
}

}  // namespace tabvet
