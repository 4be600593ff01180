#include "persistence/column_name.h"

#include "platform/qxutils/string_utils.h"

namespace qxdbsqlengine {

std::string ColumnNameOf(std::string label) {
    const std::size_t cut = label.find_first_of("(*)");
    if (cut != std::string::npos)
        label.erase(cut);
    return qxutils::StringUtils::StringTrim(label);
}

}  // namespace qxdbsqlengine
