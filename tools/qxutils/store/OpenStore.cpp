#include "store/OpenStore.h"

#include "files/FileAccess.h"
#include "files/WholeFile.h"
#include "text/FileName.h"

#include <filesystem>
#include <system_error>

namespace qx::tool {

std::unique_ptr<PanelStore> openStore(const std::optional<std::string>& store) {
    if (!store)
        return nullptr;
    requireNotRead(*store);
    if (writePolicy().dryRun) {
        requireName(*store, "the store");
        // Tells whether its folder takes it.
        if (std::error_code error; !std::filesystem::exists(toPath(*store), error))
            const WholeFile file(*store);
        announce("keep the results in " + *store);
        return nullptr;
    }
    return std::make_unique<PanelStore>(*store);
}

}  // namespace qx::tool
