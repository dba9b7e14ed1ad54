#include "project/pew_template.h"

void Chains::AddChain(Chain* node) {
  if (!node) return;
  node->next = nullptr;
  if (last_) last_->next = node;
  else first = node;
  last_ = node;
  ++count;
}

void Chains::Clear() {
  Chain* node = first;
  while (node) {
    Chain* next = node->next;
    delete node;
    node = next;
  }
  first = last_ = nullptr;
  count = 0;
}
