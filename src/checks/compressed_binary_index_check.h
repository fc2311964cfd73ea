// The Oracle index analysis: walks every compressed-binary layer and checks that the tables and indexes
// that make it up exist and are configured as the storage format needs them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "compressed_binary_probes.h"
#include "framework/iado_test.h"
#include "framework/test_definition.h"
#include "framework/test_environment.h"

namespace tabvet {

/// Bits of the layer and registration flag words that decide what is walked and what is checked.
namespace layer_flags {
inline constexpr std::int32_t kCompressedBinary = 16777216;  ///< eflags bit 24; only these layers are walked
inline constexpr std::int32_t kLoadOnlyIo = 1048576;         ///< eflags bit 20
inline constexpr std::int32_t kVersioned = 8;                ///< object_flags bit 3
}  // namespace layer_flags

/// The constant part of the index analysis: system tables, statement fragments and result texts.
struct IndexAnalysisRow {
    const char* layersTable;
    const char* tableRegistryTable;
    const char* cannotTranslateLayers;
    const char* cannotTranslateTableRegistry;
    const char* walkSelectList;
    const char* walkJoin;
    const char* walkFilterHead;
    const char* walkFilterTail;
    const char* walkErrorPrefix;
    const char* noLayers;
    const char* layerFooterHead;
    const char* layerFooterTail;
    const char* passText;
    const char* incorrectIndex;
    const char* missingIndex;
    const char* indexLookupError;
    const char* tableLookupError;
};

/// The family's table: its one check.
extern const IndexAnalysisRow kIdxLyrBinOra;

/// The statement that walks the compressed-binary layers with their registrations.
std::string CompressedBinaryWalkStatement(const std::string& layersTable,
                                          const std::string& tableRegistryTable);

/// The index analysis as a test. Field reads and conversions of the walk are not trapped: a NULL layer id,
/// for instance, escapes.
std::unique_ptr<IAdoTest> MakeCheck(const TestDefinition& definition, const IndexAnalysisRow& row,
                                    const TestEnvironment& environment);

}  // namespace tabvet
