#include "common/report_name_index.h"

ReportNameIndex::ReportNameIndex() : m_nodes(1) { m_root_children.fill(kNone); }

uint32_t ReportNameIndex::Child(uint32_t node, unsigned char byte) const {
  if (node == kRoot) return m_root_children[byte];
  for (uint32_t child = m_nodes[node].first_child; child != kNone;
       child = m_nodes[child].next_sibling) {
    if (m_nodes[child].byte == byte) return child;
  }
  return kNone;
}

uint32_t ReportNameIndex::AddChild(uint32_t node, unsigned char byte) {
  const uint32_t child = static_cast<uint32_t>(m_nodes.size());
  m_nodes.emplace_back();
  m_nodes[child].byte = byte;
  if (node == kRoot) {
    m_root_children[byte] = child;
  } else {
    m_nodes[child].next_sibling = m_nodes[node].first_child;
    m_nodes[node].first_child = child;
  }
  return child;
}

void ReportNameIndex::AddName(std::string_view name) {
  // Node numbers must stay below kNone; a name that would pass it is answered by a search.
  if (m_linked || name.size() + 1 >= kNone - m_nodes.size()) {
    m_complete = false;
    return;
  }
  uint32_t node = kRoot;
  for (size_t i = 0; i <= name.size(); ++i) {
    const unsigned char byte = i < name.size() ? static_cast<unsigned char>(name[i]) : ' ';
    const uint32_t child = Child(node, byte);
    node = child != kNone ? child : AddChild(node, byte);
  }
  m_nodes[node].ends_name = true;
}

uint32_t ReportNameIndex::Find(std::string_view name) const {
  uint32_t node = kRoot;
  for (size_t i = 0; i <= name.size() && node != kNone; ++i) {
    node = Child(node, i < name.size() ? static_cast<unsigned char>(name[i]) : ' ');
  }
  return node;
}

void ReportNameIndex::LinkSuffixesOfChild(uint32_t parent, uint32_t child) {
  Node& node = m_nodes[child];
  node.fail = kRoot;
  if (parent != kRoot) {
    // The longest suffix of the parent's path that the child's byte extends.
    for (uint32_t suffix = m_nodes[parent].fail;; suffix = m_nodes[suffix].fail) {
      const uint32_t next = Child(suffix, node.byte);
      if (next != kNone) {
        node.fail = next;
        break;
      }
      if (suffix == kRoot) break;
    }
  }
  const Node& fail = m_nodes[node.fail];
  node.next_end = fail.ends_name ? node.fail : fail.next_end;
}

void ReportNameIndex::LinkSuffixes() {
  // Breadth first, so that every shorter path is linked before a longer one needs it.
  std::vector<uint32_t> queue;
  queue.reserve(m_nodes.size());
  for (uint32_t child : m_root_children) {
    if (child != kNone) queue.push_back(child);
  }
  for (uint32_t child : queue) LinkSuffixesOfChild(kRoot, child);
  for (size_t at = 0; at < queue.size(); ++at) {
    const uint32_t parent = queue[at];
    for (uint32_t child = m_nodes[parent].first_child; child != kNone;
         child = m_nodes[child].next_sibling) {
      LinkSuffixesOfChild(parent, child);
      queue.push_back(child);
    }
  }
  m_linked = true;
}

void ReportNameIndex::MarkSeen(uint32_t node) {
  // A name marked before has had every name that ends it marked with it.
  uint32_t end = m_nodes[node].ends_name ? node : m_nodes[node].next_end;
  while (end != kNone && !m_nodes[end].seen) {
    m_nodes[end].seen = true;
    end = m_nodes[end].next_end;
  }
}

void ReportNameIndex::Read(const std::string& report) {
  if (report.size() < m_read) {
    for (Node& node : m_nodes) node.seen = false;
    m_read = 0;
    m_state = kRoot;
  }
  for (; m_read < report.size(); ++m_read) {
    const unsigned char byte = static_cast<unsigned char>(report[m_read]);
    uint32_t state = m_state;
    uint32_t next = Child(state, byte);
    while (next == kNone && state != kRoot) {
      state = m_nodes[state].fail;
      next = Child(state, byte);
    }
    m_state = next != kNone ? next : kRoot;
    MarkSeen(m_state);
  }
}

bool ReportNameIndex::Listed(const std::string& report, std::string_view name) {
  if (!m_linked) LinkSuffixes();
  const uint32_t node = Find(name);
  if (node == kNone || !m_nodes[node].ends_name) {
    // Not indexed (added late, or past the node limit): the plain search gives the answer.
    std::string item(name);
    item += ' ';
    return report.find(item) != std::string::npos;
  }
  Read(report);
  return m_nodes[node].seen;
}
