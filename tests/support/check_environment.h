// What a check takes from the main window, for tests that drive one check without the window's state.
#pragma once

#include <cstdint>

#include "db/qual_db_obj_name.h"
#include "framework/test_environment.h"
#include "support/recording_interaction.h"

namespace tabvet::testsupport {

/// A namer of its own (not set up until Setup) and a recorder for every message box.
class CheckEnvironment final : public TestEnvironment {
  public:
    CheckEnvironment() : namer(ui) {}
    explicit CheckEnvironment(std::int32_t dbmsTypeCode) : namer(ui) { namer.Setup(dbmsTypeCode); }

    const clsQualDbObjName& Namer() const override { return namer; }
    IUserInteraction& Ui() const override { return ui; }

    mutable RecordingInteraction ui;
    clsQualDbObjName namer;
};

}  // namespace tabvet::testsupport
