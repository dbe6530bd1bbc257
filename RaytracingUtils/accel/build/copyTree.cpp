// Flattens the nodes of a build: depth first, a left child directly behind its parent, the right
// subtree after the whole left one, so that the common descent stays in adjacent memory.
//
// The upper levels are laid out by one thread; the subtrees below are counted and copied by all.

#include "accel/znRTBVHIntersector.h"

#include <cassert>
#include <tbb/parallel_for.h>
#include <vector>

namespace {
/// Levels laid out one by one: enough subtrees to share out, few enough to be quick.
constexpr int s_upperLevels = 8;
constexpr int s_stackSize = 1024;

/// One node of the upper levels or one subtree, in depth first order.
struct Piece
{
    const znRTBVHNode* source;
    u64 size; ///< nodes
    u64 place;
    bool isSubtree;
    u64 rightPiece; ///< of a single node whose right child is interior; 0 otherwise
};

u64 countNodes(const znRTBVHNode* root)
{
    const znRTBVHNode* stack[s_stackSize];
    int depth = 0;
    stack[depth++] = root;
    u64 count = 0;
    while (depth) {
        const znRTBVHNode* const node = stack[--depth];
        ++count;
        assert(depth + 2 <= s_stackSize);
        for (const u64 child : {node->left, node->right})
            if (!znRTBVHNode::isLeaf(child))
                stack[depth++] = znRTBVHNode::getNode(child);
    }
    return count;
}

/// Copies a subtree to consecutive places.
void copySubtree(const znRTBVHNode* root, znRTBVHNode* out)
{
    struct Entry
    {
        znRTBVHNode* parent;
        const znRTBVHNode* child;
        bool isLeft;
    };
    Entry stack[s_stackSize];
    int depth = 0;
    stack[depth++] = {nullptr, root, false};
    while (depth) {
        const Entry entry = stack[--depth];
        znRTBVHNode* const node = out++;
        *node = *entry.child;
        if (entry.parent)
            (entry.isLeft ? entry.parent->left : entry.parent->right) =
                znRTBVHNode::encodeNode(node);
        assert(depth + 2 <= s_stackSize);
        if (!znRTBVHNode::isLeaf(node->right))
            stack[depth++] = {node, znRTBVHNode::getNode(node->right), false};
        if (!znRTBVHNode::isLeaf(node->left))
            stack[depth++] = {node, znRTBVHNode::getNode(node->left), true};
    }
}

void collectPieces(const znRTBVHNode* node, int level, std::vector<Piece>& pieces)
{
    const u64 index = pieces.size();
    const bool isSubtree = level == s_upperLevels;
    pieces.push_back({node, 1, 0, isSubtree, 0});
    if (isSubtree)
        return;
    if (!znRTBVHNode::isLeaf(node->left))
        collectPieces(znRTBVHNode::getNode(node->left), level + 1, pieces);
    if (!znRTBVHNode::isLeaf(node->right)) {
        pieces[index].rightPiece = pieces.size();
        collectPieces(znRTBVHNode::getNode(node->right), level + 1, pieces);
    }
}
} // namespace

void znRTBVHIntersector::copyTreeToArray(znDynBlockArray<znRTBVHNode>& blocks)
{
    znDynArray<znRTBVHNode>& nodes = tree->nodes;
    if (nodes.capacity != blocks.getCount())
        nodes.clear();
    const znRTBVHNode* const root = blocks.getCount() ? blocks.get(0) : nullptr;
    nodes.reserve(root ? blocks.getCount() : 1, true);
    if (!nodes.data)
        return blocks.clear();
    if (!root) {
        nodes[0].setEmpty();
        return blocks.clear();
    }

    std::vector<Piece> pieces;
    collectPieces(root, 0, pieces);
    const tbb::blocked_range<u64> all(0, pieces.size(), 4);
    tbb::parallel_for(all, [&](const tbb::blocked_range<u64>& range) {
        for (u64 i = range.begin(); i != range.end(); ++i)
            if (pieces[i].isSubtree)
                pieces[i].size = countNodes(pieces[i].source);
    });
    u64 place = 0;
    for (Piece& piece : pieces) {
        piece.place = place;
        place += piece.size;
    }
    tbb::parallel_for(all, [&](const tbb::blocked_range<u64>& range) {
        for (u64 i = range.begin(); i != range.end(); ++i) {
            const Piece& piece = pieces[i];
            znRTBVHNode* const node = &nodes[piece.place];
            if (piece.isSubtree) {
                copySubtree(piece.source, node);
                continue;
            }
            *node = *piece.source;
            if (!znRTBVHNode::isLeaf(node->left))
                node->left = znRTBVHNode::encodeNode(node + 1);
            if (piece.rightPiece)
                node->right = znRTBVHNode::encodeNode(&nodes[pieces[piece.rightPiece].place]);
        }
    });
    nodes.size = place;
    blocks.clear();
}
