#include "quelcore/project/QmRulezTree.h"

#include <memory>
#include <utility>

#include "quelcore/base/outOfMemory.h"

using RulezNode = QmRulezTree::RulezNode;

namespace {

/// A node with just these bits open.
std::unique_ptr<RulezNode> makeNode(std::int32_t id, std::uint32_t rulez) {
  auto node = std::make_unique<RulezNode>(id);
  if (rulez != static_cast<std::uint32_t>(QmRulezTree::getDefaultRulez())) {
    node->removeRulez(0xFFFFFFFF);
    node->restoreRulez(rulez);
  }
  return node;
}

template <typename Operation>
bool onNode(RulezNode* node, Operation operation) {
  if (node == nullptr) return false;
  operation(*node);
  return true;
}

}  // namespace

// --- Nodes ---------------------------------------------------------------------------------------------------------

// Turns the first child up in front of its parent until a node has none, which then goes alone: neither siblings nor
// levels cost stack.
RulezNode::~RulezNode() {
  for (RulezNode* head : {std::exchange(firstChild_, nullptr), std::exchange(nextSibling_, nullptr)}) {
    while (head != nullptr) {
      if (RulezNode* child = head->firstChild_; child != nullptr) {
        head->firstChild_ = std::exchange(child->nextSibling_, head);
        head = child;
      } else {
        RulezNode* next = std::exchange(head->nextSibling_, nullptr);
        delete head;
        head = next;
      }
    }
  }
}

void RulezNode::addChild(RulezNode* node) {
  if (node == nullptr) return;
  node->parent_ = this;
  node->nextSibling_ = firstChild_;
  firstChild_ = node;
}

RulezNode* RulezNode::findChild(std::int32_t id) const {
  RulezNode* child = firstChild_;
  while (child != nullptr && child->id_ != id) child = child->nextSibling_;
  return child;
}

std::uint32_t RulezNode::getRulez() const {
  std::uint32_t open = kAllOpen;
  for (const RulezNode* node = this; node != nullptr; node = node->parent_) {
    if (node->set_) open &= node->rulez_;
  }
  return open;
}

void RulezNode::removeRulez(std::uint32_t mask) {
  for (std::size_t bit = 0; bit < counters_.size(); ++bit) {
    if ((mask >> bit & 1u) != 0) ++counters_[bit];
  }
  rulez_ &= ~mask;
  set_ = true;
}

void RulezNode::restoreRulez(std::uint32_t mask) {
  for (std::size_t bit = 0; bit < counters_.size(); ++bit) {
    if ((mask >> bit & 1u) == 0) continue;
    if (counters_[bit] > 0) --counters_[bit];
    if (counters_[bit] == 0) rulez_ |= 1u << bit;
  }
  set_ = true;
}

void RulezNode::resetRulez() {
  rulez_ = kAllOpen;
  counters_.fill(0);
  set_ = false;
}

QmRulezTree::~QmRulezTree() = default;

// --- Filling -------------------------------------------------------------------------------------------------------

RulezNode* QmRulezTree::addGroupTo(RulezNode* parent, std::int32_t id, std::uint32_t rulez) {
  if (parent == nullptr) return nullptr;
  return quelcore::unlessOutOfMemory(static_cast<RulezNode*>(nullptr), [&] {
    std::unique_ptr<RulezNode> node = makeNode(id, rulez);
    groups_.emplace(id, node.get());  // An older entry stays.
    parent->addChild(node.get());
    return node.release();
  });
}

RulezNode* QmRulezTree::addRootGroup(std::int32_t id, std::uint32_t rulez) { return addGroupTo(&root_, id, rulez); }

RulezNode* QmRulezTree::addGroup(std::int32_t parentGroup, std::int32_t id, std::uint32_t rulez) {
  return addGroupTo(findOrAddGroup(parentGroup), id, rulez);
}

RulezNode* QmRulezTree::addItem(std::int32_t group, std::int32_t id, std::uint32_t rulez) {
  RulezNode* parent = findOrAddGroup(group);
  if (parent == nullptr) return nullptr;
  return quelcore::unlessOutOfMemory(static_cast<RulezNode*>(nullptr), [&] {
    RulezNode* node = makeNode(id, rulez).release();
    parent->addChild(node);
    return node;
  });
}

RulezNode* QmRulezTree::findOrAddGroup(std::int32_t group) {
  RulezNode* found = findGroup(group);
  return found != nullptr ? found : addRootGroup(group);
}

// --- By group and item ---------------------------------------------------------------------------------------------

RulezNode* QmRulezTree::findGroup(std::int32_t group) const {
  const auto found = groups_.find(group);
  return found == groups_.end() ? nullptr : found->second;
}

RulezNode* QmRulezTree::findItem(std::int32_t group, std::int32_t item) const {
  const RulezNode* parent = findGroup(group);
  return parent == nullptr ? nullptr : parent->findChild(item);
}

std::uint32_t QmRulezTree::getGroupRulez(std::int32_t group) const {
  const RulezNode* node = findGroup(group);
  return node == nullptr ? getRootRulez() : node->getRulez();
}

bool QmRulezTree::removeGroupRulez(std::int32_t group, std::uint32_t mask) {
  return onNode(findGroup(group), [mask](RulezNode& node) { node.removeRulez(mask); });
}

bool QmRulezTree::restoreGroupRulez(std::int32_t group, std::uint32_t mask) {
  return onNode(findGroup(group), [mask](RulezNode& node) { node.restoreRulez(mask); });
}

bool QmRulezTree::resetGroupRulez(std::int32_t group) {
  return onNode(findGroup(group), [](RulezNode& node) { node.resetRulez(); });
}

std::uint32_t QmRulezTree::getItemRulez(std::int32_t group, std::int32_t item) const {
  const RulezNode* node = findItem(group, item);
  return node == nullptr ? getGroupRulez(group) : node->getRulez();
}

bool QmRulezTree::removeItemRulez(std::int32_t group, std::int32_t item, std::uint32_t mask) {
  return onNode(findItem(group, item), [mask](RulezNode& node) { node.removeRulez(mask); });
}

bool QmRulezTree::restoreItemRulez(std::int32_t group, std::int32_t item, std::uint32_t mask) {
  return onNode(findItem(group, item), [mask](RulezNode& node) { node.restoreRulez(mask); });
}

bool QmRulezTree::resetItemRulez(std::int32_t group, std::int32_t item) {
  return onNode(findItem(group, item), [](RulezNode& node) { node.resetRulez(); });
}
