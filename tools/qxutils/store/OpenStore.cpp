#include "store/OpenStore.h"

#include "files/WholeFile.h"

namespace qx::tool {

std::unique_ptr<PanelStore> openStore(const std::optional<std::string>& store) {
    if (!store)
        return nullptr;
    requireNotRead(*store);
    if (writePolicy().dryRun) {
        announce("keep the results in " + *store);
        return nullptr;
    }
    return std::make_unique<PanelStore>(*store);
}

}  // namespace qx::tool
