// Memory for the nodes of one bucket.
#ifndef NODE_POOL_H
#define NODE_POOL_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace Tarsel {

/// Nodes in blocks, so that those that came one after the other lie side by side: a list of them is
/// read at a fraction of the fetches that nodes scattered between items cost. Blocks are freed
/// with the pool only. Node is a plain record with a pointer `next`, which links the free nodes.
template <class Node>
class NodePool {
 public:
  NodePool() : m_free(nullptr), m_count(0) {}

  Node* Take() {
    if (m_free == nullptr) {
      AddBlock();
    }
    Node* node = m_free;
    m_free = node->next;
    return node;
  }

  void Give(Node* node) {
    node->next = m_free;
    m_free = node;
  }

 private:
  static constexpr std::size_t SMALLEST = 4;
  static constexpr std::size_t LARGEST = 1024;

  // As many nodes as there are already, within bounds: most buckets hold a handful of items.
  void AddBlock() {
    const std::size_t count = std::min(LARGEST, std::max(SMALLEST, m_count));
    m_blocks.emplace_back(new Node[count]);
    m_count += count;
    for (std::size_t i = count; i-- > 0;) {
      Give(&m_blocks.back()[i]);
    }
  }

  std::vector<std::unique_ptr<Node[]>> m_blocks;
  Node* m_free;
  std::size_t m_count;  // in all blocks
};

}  // namespace Tarsel

#endif
