// The messages of statuses: a built-in table, and texts that a program sets, for one context or for all.
#pragma once

#include <atomic>
#include <map>
#include <shared_mutex>
#include <string>
#include <string_view>

#include "vqstring/host.h"

namespace vq::host {

// The built-in message, without inserts; empty when there is none.
std::u32string_view builtInStatusText(VQStatus status);

class StatusTexts {
 public:
  // Null for what a text belongs to stands for all contexts.
  void set(const VQFormatContext* context, VQStatus status, std::u32string_view text);
  void remove(const VQFormatContext* context, VQStatus status);
  void removeAll(const VQFormatContext* context);

  // Calls `use` with the text, a format, which cannot be taken away meanwhile.
  template <class Use>
  VQStatus with(const VQFormatContext* context, VQStatus status, Use use) const {
    // Most programs set nothing.
    if (!isUsed_.load(std::memory_order_acquire)) return use(builtInStatusText(status));
    const std::shared_lock hold(mutex_);
    return use(find(context, status));
  }

 private:
  using Key = std::pair<const VQFormatContext*, VQStatus>;

  std::u32string_view find(const VQFormatContext* context, VQStatus status) const;

  mutable std::shared_mutex mutex_;
  std::atomic<bool> isUsed_ = false;
  std::map<Key, std::u32string> texts_;
};

}  // namespace vq::host
