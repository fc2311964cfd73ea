// What a test takes from the main window besides its connection.
#pragma once

#include "db/qual_db_obj_name.h"
#include "db/user_interaction.h"

namespace tabvet {

/// The main window's objects that tests reach while they run. Looked up at each use, never copied.
class TestEnvironment {
  public:
    virtual ~TestEnvironment() = default;
    /// The system-table namer, g_QDON.
    virtual const clsQualDbObjName& Namer() const = 0;
    /// Where message boxes go (for instance the formatter's null-connection box).
    virtual IUserInteraction& Ui() const = 0;
};

}  // namespace tabvet
