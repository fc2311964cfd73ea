// Each check family adds its classes here at their catalogue positions; nothing else decides the order.
#include "catalogue.h"

#include "compressed_binary_index_check.h"
#include "cross_table_checks.h"
#include "environment_checks.h"
#include "keyword_checks.h"
#include "orphaned_entry_checks.h"

namespace tabvet {

std::vector<std::unique_ptr<IAdoTest>> CreateCatalogueTests(const TestEnvironment& environment) {
    std::vector<std::unique_ptr<IAdoTest>> tests;
    tests.push_back(std::make_unique<clsTst_IsDbmsRunning>(environment));    // 1
    tests.push_back(std::make_unique<clsTst_LyrTblExists>(environment));     // 2
    tests.push_back(std::make_unique<clsTst_TblRegInDbtune>(environment));   // 3
    tests.push_back(std::make_unique<clsTst_OrphTblReg>(environment));       // 4
    tests.push_back(std::make_unique<clsTst_LyrInTblReg>(environment));      // 5
    tests.push_back(std::make_unique<clsTst_LyrInGeomCol>(environment));     // 6
    tests.push_back(std::make_unique<clsTst_LyrInSpatRef>(environment));     // 7
    tests.push_back(std::make_unique<clsTst_LyrInDbtune>(environment));      // 8
    tests.push_back(std::make_unique<clsTst_OrphLyr>(environment));          // 9
    tests.push_back(std::make_unique<clsTst_GeomColInLyr>(environment));     // 10
    tests.push_back(std::make_unique<clsTst_RasColInTblReg>(environment));   // 11
    tests.push_back(std::make_unique<clsTst_RasColInSpatRef>(environment));  // 12
    tests.push_back(std::make_unique<clsTst_RasColInDbtune>(environment));   // 13
    tests.push_back(std::make_unique<clsTst_OrphRasCol>(environment));       // 14
    tests.push_back(std::make_unique<clsTst_OrphGeomCol>(environment));      // 15
    tests.push_back(std::make_unique<clsTst_IdxLyrBinOra>(environment));     // 16
    return tests;
}

}  // namespace tabvet
