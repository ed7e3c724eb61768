#include "arrange/arrange_view.hpp"

#include <algorithm>
#include <set>

#include "arrange/arrange_model.hpp"

namespace kestrune {

namespace {

ArrangeRow rowFor(const ArrangeEntry& entry, bool isModern) {
  ArrangeRow row;
  row.entry = entry;
  row.image = entry.image ? entry.image : entry.appIcon;
  row.isPinned = entry.kind != ArrangeEntry::Kind::item;
  if (row.isPinned) {
    row.fixedLabel = ArrangeStyle::kFixedLabel;
    row.opacity = ArrangeStyle::kPinnedOpacity;
  } else {
    row.handleSymbol = ArrangeStyle::kHandleSymbol;
  }
  if (!entry.isOnScreen) {
    row.tooltip = isModern ? ArrangeStyle::kModernTooltip : ArrangeStyle::kLegacyTooltip;
  }
  return row;
}

std::vector<ArrangeRow> rowsRightToLeft(const std::vector<ArrangeEntry>& entries, bool isModern) {
  std::vector<ArrangeRow> rows;
  for (auto it = entries.rbegin(); it != entries.rend(); ++it)
    rows.push_back(rowFor(*it, isModern));
  return rows;
}

}  // namespace

ArrangeViewModel describeArrangeView(const ArrangeModel& model) {
  const bool isModern = model.isModern();
  ArrangeViewModel view;
  view.intro = isModern ? ArrangeStyle::kModernIntro : ArrangeStyle::kLegacyIntro;
  if (model.entries.get().empty()) view.scanning = ArrangeStyle::kScanningText;
  view.rows = rowsRightToLeft(model.desired.get(), isModern);
  const bool busy = model.isBusy.get();
  if (busy) view.progress = model.status.get().value_or("");
  view.error = model.lastError.get();
  const bool dirty = model.isDirty();
  view.refresh = {ArrangeStyle::kRefresh, !busy, false};
  view.revert = {ArrangeStyle::kRevert, dirty && !busy, false};
  view.apply = {ArrangeStyle::kApply, dirty && !busy, true};
  return view;
}

std::vector<ArrangeEntry> moveRows(const std::vector<ArrangeEntry>& desired,
                                   const std::vector<size_t>& fromOffsets, size_t toOffset) {
  const std::vector<ArrangeEntry> display(desired.rbegin(), desired.rend());
  toOffset = std::max(toOffset, leadingPinnedRows(display));
  // The collection move: the rows at the offsets, in their order, go before
  // the row that was at toOffset.
  const std::set<size_t> from(fromOffsets.begin(), fromOffsets.end());
  std::vector<ArrangeEntry> moving;
  std::vector<ArrangeEntry> staying;
  size_t insertAt = 0;
  for (size_t i = 0; i < display.size(); ++i) {
    if (from.contains(i) && display[i].kind == ArrangeEntry::Kind::item) {
      moving.push_back(display[i]);
    } else {
      if (i < toOffset) ++insertAt;
      staying.push_back(display[i]);
    }
  }
  staying.insert(staying.begin() + static_cast<std::ptrdiff_t>(insertAt), moving.begin(),
                 moving.end());
  return {staying.rbegin(), staying.rend()};
}

size_t leadingPinnedRows(const std::vector<ArrangeEntry>& rightToLeft) {
  const auto firstMovable =
      std::find_if(rightToLeft.begin(), rightToLeft.end(),
                   [](const ArrangeEntry& e) { return e.kind == ArrangeEntry::Kind::item; });
  return static_cast<size_t>(firstMovable - rightToLeft.begin());
}

void move(ArrangeModel& model, const std::vector<size_t>& fromOffsets, size_t toOffset) {
  model.desired.set(moveRows(model.desired.get(), fromOffsets, toOffset));
}

void revert(ArrangeModel& model) {
  model.desired.set(model.entries.get());
}

}  // namespace kestrune
