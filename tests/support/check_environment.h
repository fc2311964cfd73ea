// What a check needs from the main window, for running one check directly in a test: a namer set up for
// one server type and a recorder for the boxes it shows.
#pragma once

#include <cstdint>
#include <string>

#include "db/qual_db_obj_name.h"
#include "framework/test_environment.h"
#include "recording_interaction.h"

namespace tabvet::testsupport {

class CheckEnvironment final : public TestEnvironment {
  public:
    /// A namer that has not been set up (every name comes back empty).
    CheckEnvironment() = default;
    /// A namer set up for `code`, with the system database name where the server type uses one.
    explicit CheckEnvironment(std::int32_t code, const std::string& database = kNoDatabaseName) {
        namer.Setup(code, database);
    }

    const clsQualDbObjName& Namer() const override { return namer; }
    IUserInteraction& Ui() const override { return ui; }

    mutable RecordingInteraction ui;
    clsQualDbObjName namer{ui};
};

}  // namespace tabvet::testsupport
