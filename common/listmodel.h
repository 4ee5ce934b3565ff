// What the shared list routines (lstSelectAll, lstUnSelectAll, lstCopy) need of a list box.
//
// The shell's list box control implements it; tests may use VectorListModel. Indexes are 0-based
// as in VB; the error behaviour for an index out of range is the implementer's (VB raises 381 for
// Selected and 380 for ListIndex).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qx {

class ListModel {
  public:
    virtual ~ListModel() = default;
    virtual std::size_t listCount() const = 0;      // ListCount
    virtual std::string list(int index) const = 0;  // List(i); "" outside the list
    virtual bool selected(int index) const = 0;     // Selected(i)
    virtual void setSelected(int index, bool selected) = 0;
    virtual void clear() = 0;                                    // Clear
    virtual void addItem(std::string item, int index = -1) = 0;  // AddItem (appends with -1)
    virtual int listIndex() const = 0;                           // ListIndex; -1 when none
    virtual void setListIndex(int index) = 0;
    virtual void refresh() = 0;  // Refresh
};

// A plain list, for tests and for code that keeps a list without a window.
class VectorListModel final : public ListModel {
  public:
    std::vector<std::string> items;
    std::vector<bool> marks;
    int current = -1;
    int refreshes = 0;

    std::size_t listCount() const override { return items.size(); }
    std::string list(int index) const override;
    bool selected(int index) const override;
    void setSelected(int index, bool selected) override;
    void clear() override;
    void addItem(std::string item, int index = -1) override;
    int listIndex() const override { return current; }
    void setListIndex(int index) override;
    void refresh() override { ++refreshes; }
};

}  // namespace qx
