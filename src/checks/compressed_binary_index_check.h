// The Oracle index analysis: walks every compressed-binary layer and checks that the tables and indexes
// that make it up exist and are configured as the storage format needs them.
#pragma once

#include <string>

#include "compressed_binary_probes.h"
#include "framework/ado_test_base.h"

namespace tabvet {

class Recordset;

/// Bits of the layer and registration flag words that decide what is walked and what is checked.
namespace layer_flags {
inline constexpr std::int32_t kCompressedBinary = 16777216;  ///< eflags bit 24; only these layers are walked
inline constexpr std::int32_t kLoadOnlyIo = 1048576;         ///< eflags bit 20
inline constexpr std::int32_t kVersioned = 8;                ///< object_flags bit 3
}  // namespace layer_flags

bool IsLoadOnlyIo(std::int32_t eflags);
bool IsVersioned(std::int32_t objectFlags);

/// The statement that walks the compressed-binary layers with their registrations.
std::string CompressedBinaryWalkStatement(const std::string& layersTable,
                                          const std::string& tableRegistryTable);

/// The label that closes a failing layer's block: OWNER.TABLE.COLUMN (#id).
std::string LayerLabel(const LayerValues& layer);

class clsTst_IdxLyrBinOra final : public AdoTestBase {
  public:
    explicit clsTst_IdxLyrBinOra(const TestEnvironment& environment);
    /// Field reads and conversions of the walk are not trapped: a NULL layer id, for instance, escapes.
    void Run(Connection* conn) override;

  private:
    void WalkLayers(Recordset& rs, Connection& conn);
    bool CheckLayer(const LayerValues& layer, bool loadOnly, bool versioned, Connection& conn);

    bool CheckIndexes(IndexStep step, const LayerValues& layer, Connection& conn);
    bool TableExists(ExistenceStep step, const LayerValues& layer, Connection& conn);

    void AddIncorrectIndexError(const std::string& index);
    void AddMissingIndexError(const std::string& index);
    void AddIndexLookupError(Connection& conn, const std::string& index);
    void AddTableLookupError(Connection& conn, const std::string& table);
};

}  // namespace tabvet
