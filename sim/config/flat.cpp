#include "sim/config/flat.h"

#include <algorithm>

namespace kvnsim {

std::optional<FlatKey> split_flat_key(const std::string &key)
{
    const size_t bar = key.find('|');
    if (bar == key.npos || bar == 0 || bar + 1 == key.size())
        return {};
    return FlatKey{key.substr(0, bar), key.substr(bar + 1)};
}

void unflatten(std::vector<DocumentField> &fields)
{
    const auto says_none = [](const DocumentField &field) {
        return field.name == "NULL" && field.kind == ValueKind::text && field.text == "NULL";
    };
    fields.erase(std::remove_if(fields.begin(), fields.end(), says_none), fields.end());
    for (DocumentField &field : fields) {
        if (field.kind != ValueKind::text || field.name.size() < 2 || field.name.back() != '@')
            continue;
        field.name.pop_back();
        field.kind = ValueKind::list;
        field.text.clear();
    }
}

} // namespace kvnsim
