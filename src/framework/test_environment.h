// What a test takes from the main window besides its connection.
#pragma once

#include <cstddef>

#include "db/qual_db_obj_name.h"
#include "db/user_interaction.h"

namespace tabvet {

class ProbePool;

/// Told how far a check's walk over rows (entries, layers) is, for the progress the user sees.
class WalkListener {
  public:
    virtual ~WalkListener() = default;
    /// `walked` of `toWalk` rows are done; the first call of a walk starts its clock.
    virtual void Walked(std::size_t walked, std::size_t toWalk) = 0;
    /// The walk is over, however it ended: nothing of it is shown any more.
    virtual void WalkEnded() = 0;
};

/// The main window's objects that tests reach while they run. Looked up at each use, never copied.
class TestEnvironment {
  public:
    virtual ~TestEnvironment() = default;
    /// The system-table namer, g_QDON.
    virtual const clsQualDbObjName& Namer() const = 0;
    /// Where message boxes go (for instance the formatter's null-connection box).
    virtual IUserInteraction& Ui() const = 0;
    /// Extra connections on which a check may run its probes ahead of it during a run; null: the check's
    /// own connection sends everything.
    virtual ProbePool* Probes() const { return nullptr; }
    /// Where a check reports how far it has walked during a run; null: nobody is told.
    virtual WalkListener* Walks() const { return nullptr; }
};

/// Reports a walk over `toWalk` rows from construction (0 done) to destruction (ended), whichever way the
/// check leaves it.
class WalkProgress {
  public:
    WalkProgress(const TestEnvironment& environment, std::size_t toWalk)
        : listener_(environment.Walks()), toWalk_(toWalk) {
        Walked(0);
    }
    ~WalkProgress() {
        if (listener_ != nullptr) {
            listener_->WalkEnded();
        }
    }
    WalkProgress(const WalkProgress&) = delete;
    WalkProgress& operator=(const WalkProgress&) = delete;

    void Walked(std::size_t walked) {
        if (listener_ != nullptr) {
            listener_->Walked(walked, toWalk_);
        }
    }

  private:
    WalkListener* listener_;
    std::size_t toWalk_;
};

}  // namespace tabvet
