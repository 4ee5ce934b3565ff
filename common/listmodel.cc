#include "common/listmodel.h"

#include "platform/errors.h"

namespace qx {

namespace {
constexpr std::int32_t kInvalidPropertyArrayIndex = 381;
constexpr std::int32_t kInvalidPropertyValue = 380;
}  // namespace

std::string VectorListModel::list(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= items.size()) return {};
    return items[static_cast<std::size_t>(index)];
}

bool VectorListModel::selected(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= items.size())
        raise(kInvalidPropertyArrayIndex, "Invalid property array index");
    return marks[static_cast<std::size_t>(index)];
}

void VectorListModel::setSelected(int index, bool selected) {
    if (index < 0 || static_cast<std::size_t>(index) >= items.size())
        raise(kInvalidPropertyArrayIndex, "Invalid property array index");
    marks[static_cast<std::size_t>(index)] = selected;
}

void VectorListModel::clear() {
    items.clear();
    marks.clear();
    current = -1;
}

void VectorListModel::addItem(std::string item, int index) {
    if (index < 0) {
        items.push_back(std::move(item));
        marks.push_back(false);
        return;
    }
    if (static_cast<std::size_t>(index) > items.size()) raise(err::kInvalidProcedureCall);
    items.insert(items.begin() + index, std::move(item));
    marks.insert(marks.begin() + index, false);
}

void VectorListModel::setListIndex(int index) {
    if (index < -1 || index >= static_cast<int>(items.size()))
        raise(kInvalidPropertyValue, "Invalid property value");
    current = index;
}

}  // namespace qx
