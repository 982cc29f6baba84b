#include "commands/StoreOption.h"

#include "results/RecordJson.h"
#include "store/PanelStore.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace qx::tool {

void addStoreOption(CLI::App& command, std::optional<std::string>& store) {
    command.add_option("--store", store, "SQLite file that keeps the results too; qxutils trend reads it")
        ->option_text("FILE");
}

RecordSink storeSink(const std::optional<std::string>& store) {
    if (!store)
        return [](const Record&) {};
    return [kept = std::make_shared<PanelStore>(*store),
            detector = documentHead().at("detector")](const Record& record) { kept->add(record, detector); };
}

}  // namespace qx::tool
