// The contract every check fulfils: run it on a connection, then read its verdict and result text.
#pragma once

#include <cstdint>
#include <string>

#include "db/connection.h"

namespace tabvet {

/// One test of the catalogue. The members stand in their fixed slot order.
class IAdoTest {
  public:
    virtual ~IAdoTest() = default;

    /// Runs the test on the open connection (may be null); leaves Pass, WasRun and ResultDetails.
    virtual void Run(Connection* conn) = 0;
    virtual const std::string& Name() const = 0;
    virtual const std::string& Category() const = 0;
    virtual const std::string& Description() const = 0;
    virtual const std::string& ResultDetails() const = 0;
    virtual bool Pass() const = 0;
    /// A class constant that nothing in the program consults.
    virtual bool Fatal() const = 0;
    virtual bool WorksWithVersion(const std::int16_t& major, const std::int16_t& minor,
                                  const std::int16_t& bugfix) const = 0;
    virtual bool WorksWithOracle() const = 0;
    virtual bool WorksWithInformix() const = 0;
    virtual bool WorksWithDB2() const = 0;
    virtual bool WorksWithSqlServer() const = 0;
    virtual bool WasRun() const = 0;
    virtual void WasRun(bool vSetting) = 0;
    virtual bool Enabled() const = 0;
    /// Setter of Enabled; the different name is part of the contract.
    virtual void Enable(bool vSetting) = 0;
};

}  // namespace tabvet
