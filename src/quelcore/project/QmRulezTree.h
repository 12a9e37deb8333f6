// Which of 32 switches are open for an item: a tree of masks in three levels, root, groups and items.
//
// A rule is one bit; what it means is up to the derived class that fills the tree, and to its callers. A bit that is
// closed at a level is closed for all below. Each closing counts: a bit that several callers closed opens when the last
// of them has reopened it.
//
//   struct Rules : QmRulezTree {
//     Rules() { addRootGroup(1); addItem(1, 7); }
//   } rules;
//   rules.removeGroupRulez(1, 0b100);
//   rules.getItemRulez(1, 7);  // all bits but the third
//
// For one thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <map>

#include "quelcore/QuelCoreApi.h"

class QUELCORE_API QmRulezTree {
 public:
  /// One node. It owns its first child and the sibling behind it, and so all of them.
  class QUELCORE_API RulezNode {
   public:
    /// No parent, no children, all bits open, not counting yet.
    explicit RulezNode(std::int32_t id = -1) : id_(id) {}
    /// Destroys the nodes below and the siblings behind, however many and however deep they are.
    virtual ~RulezNode();

    /// Required: copies share the nodes below and behind with their source, so a copy is for reading while the source
    /// lives, and only one of the two may be destroyed.
    RulezNode(const RulezNode&) = default;
    RulezNode& operator=(const RulezNode&) = default;

    std::int32_t id() const { return id_; }

    /// Puts `node` in front of the other children and owns it from then on. Null is passed over.
    void addChild(RulezNode* node);
    /// The first child with this id, which is the newest; or null.
    RulezNode* findChild(std::int32_t id) const;

    /// The bits that are open here and in every node above; a node that was never touched, or was reset, does not
    /// count.
    std::uint32_t getRulez() const;
    /// Closes the bits of `mask`, counts that for each, and makes the node count, even for an empty mask.
    /// Required: the counts are 8 bits wide and wrap, so that a bit closed 256 times opens with one reopening.
    void removeRulez(std::uint32_t mask);
    /// Takes one from the count of each bit of `mask` that was closed, opens those whose count is 0 then, and makes the
    /// node count, even for an empty mask.
    void restoreRulez(std::uint32_t mask);
    /// Opens all bits, forgets all counts, and lets the node not count.
    void resetRulez();

   private:
    static constexpr int kBits = 32;

    RulezNode* parent_ = nullptr;
    RulezNode* firstChild_ = nullptr;
    RulezNode* nextSibling_ = nullptr;
    std::int32_t id_;
    std::uint32_t rulez_ = 0xFFFFFFFF;
    bool set_ = false;
    std::array<std::uint8_t, kBits> counters_ = {};
  };

  QmRulezTree() = default;
  virtual ~QmRulezTree();

  /// Required: shallow, as copies of nodes are. The groups of a copy are those of its source.
  QmRulezTree(const QmRulezTree&) = default;
  QmRulezTree& operator=(const QmRulezTree&) = default;

  /// All bits.
  static std::int32_t getDefaultRulez() { return -1; }

  std::uint32_t getRootRulez() const { return root_.getRulez(); }
  void removeRootRulez(std::uint32_t mask) { root_.removeRulez(mask); }
  void restoreRootRulez(std::uint32_t mask) { root_.restoreRulez(mask); }
  /// Opens the root level only.
  void resetRootRulez() { root_.resetRulez(); }

  /// Those of the root for a group that there is not.
  std::uint32_t getGroupRulez(std::int32_t group) const;
  /// False, with nothing done, for a group that there is not.
  bool removeGroupRulez(std::int32_t group, std::uint32_t mask);
  bool restoreGroupRulez(std::int32_t group, std::uint32_t mask);
  bool resetGroupRulez(std::int32_t group);

  /// Those of the group for an item that there is not, those of the root when there is no such group either.
  std::uint32_t getItemRulez(std::int32_t group, std::int32_t item) const;
  /// False, with nothing done, for an item that there is not.
  bool removeItemRulez(std::int32_t group, std::int32_t item, std::uint32_t mask);
  bool restoreItemRulez(std::int32_t group, std::int32_t item, std::uint32_t mask);
  bool resetItemRulez(std::int32_t group, std::int32_t item);

 protected:
  static constexpr std::uint32_t kAllOpen = 0xFFFFFFFF;

  /// Each adds a node with the bits of `rulez` open and returns it, or null when memory is exhausted. Other bits are
  /// closed once, so one reopening opens them. A group whose id is taken is in the tree, but is not found by its id:
  /// the older one is. A parent or group that there is not yet is made, below the root, with all bits open.
  RulezNode* addRootGroup(std::int32_t id, std::uint32_t rulez = kAllOpen);
  RulezNode* addGroup(std::int32_t parentGroup, std::int32_t id, std::uint32_t rulez = kAllOpen);
  RulezNode* addItem(std::int32_t group, std::int32_t id, std::uint32_t rulez = kAllOpen);

 private:
  QUELCORE_LOCAL RulezNode* findGroup(std::int32_t group) const;
  QUELCORE_LOCAL RulezNode* findItem(std::int32_t group, std::int32_t item) const;
  QUELCORE_LOCAL RulezNode* findOrAddGroup(std::int32_t group);
  QUELCORE_LOCAL RulezNode* addGroupTo(RulezNode* parent, std::int32_t id, std::uint32_t rulez);

  RulezNode root_;
  std::map<std::int32_t, RulezNode*> groups_;  ///< Every group by its id; the nodes belong to the tree.
};
