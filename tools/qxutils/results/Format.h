#pragma once

namespace qx::tool {

// How results are written.
enum class Format { Table, Json, Csv };

}  // namespace qx::tool
