// A decorator keeps the run in test_run.cpp exactly as it is: the run sees the same answers from every
// member, only Run is bracketed by the clock.
#include "run_timing.h"

#include <chrono>

namespace tabvet {
namespace {

class TimedTest final : public IAdoTest {
  public:
    TimedTest(IAdoTest& inner, TestTiming& timing) : inner_(inner), timing_(timing) {}

    void Run(Connection* conn) override {
        timing_.entered = true;
        const auto start = std::chrono::steady_clock::now();
        const auto stop = [&] {
            timing_.durationMs =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        };
        try {
            inner_.Run(conn);
        } catch (...) {
            stop();
            timing_.endedRun = true;
            throw;
        }
        stop();
    }
    const std::string& Name() const override { return inner_.Name(); }
    const std::string& Category() const override { return inner_.Category(); }
    const std::string& Description() const override { return inner_.Description(); }
    const std::string& ResultDetails() const override { return inner_.ResultDetails(); }
    bool Pass() const override { return inner_.Pass(); }
    bool Fatal() const override { return inner_.Fatal(); }
    bool WorksWithVersion(const std::int16_t& major, const std::int16_t& minor,
                          const std::int16_t& bugfix) const override {
        return inner_.WorksWithVersion(major, minor, bugfix);
    }
    bool WorksWithOracle() const override { return inner_.WorksWithOracle(); }
    bool WorksWithInformix() const override { return inner_.WorksWithInformix(); }
    bool WorksWithDB2() const override { return inner_.WorksWithDB2(); }
    bool WorksWithSqlServer() const override { return inner_.WorksWithSqlServer(); }
    bool WasRun() const override { return inner_.WasRun(); }
    void WasRun(bool vSetting) override { inner_.WasRun(vSetting); }
    bool Enabled() const override { return inner_.Enabled(); }
    void Enable(bool vSetting) override { inner_.Enable(vSetting); }

  private:
    IAdoTest& inner_;
    TestTiming& timing_;
};

}  // namespace

RunTimer::RunTimer(MainState& state, RunRecord& record) : state_(state) {
    if (state.g_pTestCollection == nullptr) {
        return;
    }
    const clsAdoTestCollection& catalogue = *state.g_pTestCollection;
    record.tests.assign(static_cast<std::size_t>(catalogue.Count()), TestTiming{});
    std::vector<std::unique_ptr<IAdoTest>> wrapped;
    for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
        wrapped.push_back(std::make_unique<TimedTest>(*catalogue.Item(i), record.tests[i - 1]));
    }
    original_ = std::move(state.g_pTestCollection);
    state.g_pTestCollection = std::make_unique<clsAdoTestCollection>(std::move(wrapped));
}

RunTimer::~RunTimer() {
    if (original_ != nullptr) {
        state_.g_pTestCollection = std::move(original_);
    }
}

}  // namespace tabvet
