#include "commands/StoreOption.h"

#include "common/WholeFile.h"
#include "results/RecordJson.h"
#include "store/PanelStore.h"

#include <CLI/CLI.hpp>

namespace qx::tool {

void addStoreOption(CLI::App& command, std::optional<std::string>& store) {
    command.add_option("--store", store, "SQLite file that keeps the results too; qxutils trend reads it")
        ->option_text("FILE");
}

std::unique_ptr<PanelStore> openStore(const std::optional<std::string>& store) {
    if (!store)
        return nullptr;
    if (writePolicy().dryRun) {
        announce("keep the results in " + *store);
        return nullptr;
    }
    return std::make_unique<PanelStore>(*store);
}

RecordSink storeSink(const std::optional<std::string>& store) {
    std::shared_ptr<PanelStore> kept = openStore(store);
    if (!kept)
        return [](const Record&) {};
    return [kept, detector = documentHead().at("detector")](const Record& record) { kept->add(record, detector); };
}

}  // namespace qx::tool
