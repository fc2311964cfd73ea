// Creation can only fail by running out of memory here; the three messages still guard each object.
#include "startup.h"

#include <new>

#include "checks/catalogue.h"
#include "report/report_paths.h"
#include "run_step.h"

namespace tabvet {
namespace {

template <typename Make>
bool Create(MainState& state, Make make, const char* failureText) {
    try {
        make();
        return true;
    } catch (const std::bad_alloc&) {
        state.Ui().Inform(failureText, "Unexpected Condition");
        return false;
    }
}

}  // namespace

void LoadTestClasses(MainState& state) {
    state.View().SetBusyPointer(true);
    try {
        state.g_pTestCollection = std::make_unique<clsAdoTestCollection>(CreateCatalogueTests(state));
    } catch (...) {
        state.View().SetBusyPointer(false);
        throw;
    }
    state.View().SetBusyPointer(false);
}

bool StartUp(MainState& state) {
    SetStatusWindow(state, "");
    state.g_bTestsWereRun = false;
    state.reportFileName = GetDefaultReportFileName();
    state.g_sTslSystemTableDatabase.clear();
    return Create(
               state, [&] { LoadTestClasses(state); }, "Cannot load test classes: Exiting...") &&
           Create(
               state, [&] { state.g_QDON = std::make_unique<clsQualDbObjName>(state.Ui()); },
               "Cannot initialize clsQualDbObjName: Exiting...") &&
           Create(
               state, [&] { state.g_cConnErrStr = std::make_unique<clsConnErrorString>(state.Ui()); },
               "Cannot initialize clsConnErrorString: Exiting...");
}

}  // namespace tabvet
