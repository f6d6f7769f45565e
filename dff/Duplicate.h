// The one grouping structure of the engine: a red-black tree whose nodes hold a key and the chain
// of every value added under it. Nothing is ever removed; a tree is filled, walked and destroyed.
// The walk is pre-order with the right subtree first, which decides the order of result groups.
//
// Most chains hold one or two values, so they are vectors: a deque's blocks would cost hundreds of
// bytes for each.
//
// Threading: none; one tree belongs to one search.
#pragma once

#include <vector>

namespace dff {

template <class K, class V> class Duplicate {
public:
    struct Node {
        K key;
        std::vector<V> values;
        int color = red;
        Node* parent = nullptr;
        Node* left = nullptr;
        Node* right = nullptr;
    };

    class Iterator {
    public:
        explicit Iterator(Node* root) {
            if (root)
                stack_.push_back(root);
        }
        bool done() const { return stack_.empty(); }
        Node& operator*() const { return *stack_.back(); }
        Node* operator->() const { return stack_.back(); }
        Iterator& operator++() {
            Node* node = stack_.back();
            stack_.pop_back();
            if (node->left)
                stack_.push_back(node->left);
            if (node->right)
                stack_.push_back(node->right);
            return *this;
        }

    private:
        std::vector<Node*> stack_;
    };

    Duplicate() = default;
    Duplicate(const Duplicate&) = delete;
    Duplicate& operator=(const Duplicate&) = delete;
    ~Duplicate() {
        std::vector<Node*> stack;
        if (root)
            stack.push_back(root);
        while (!stack.empty()) {
            Node* node = stack.back();
            stack.pop_back();
            if (node->left)
                stack.push_back(node->left);
            if (node->right)
                stack.push_back(node->right);
            delete node;
        }
    }

    void add(const K& key, const V& value) {
        if (!root) {
            root = new Node{key, {value}, red, nullptr, nullptr, nullptr};
            insertCase1(root);
            return;
        }
        Node* node = root;
        for (;;) {
            bool less = key < node->key;
            if (!less && !(key > node->key)) {
                node->values.push_back(value);
                return;
            }
            Node*& child = less ? node->left : node->right;
            if (!child) {
                child = new Node{key, {value}, red, node, nullptr, nullptr};
                node = child;
                break;
            }
            node = child;
        }
        insertCase1(node);
        while (root->parent)
            root = root->parent;
    }

    Iterator begin() const { return Iterator(root); }

    Node* root = nullptr;
    static constexpr int red = 0;
    static constexpr int black = 1;

private:
    static bool isBlack(const Node* node) { return !node || node->color == black; }

    static Node* uncleOf(const Node* node) {
        Node* grand = node->parent->parent;
        return node->parent == grand->left ? grand->right : grand->left;
    }

    void insertCase1(Node* node) {
        if (!node->parent) {
            node->color = black;
            return;
        }
        if (node->parent->color == black)
            return;
        insertCase3(node);
    }

    void insertCase3(Node* node) {
        for (;;) {
            Node* uncle = uncleOf(node);
            if (isBlack(uncle))
                return insertCase4(node);
            node->parent->color = black;
            uncle->color = black;
            node = node->parent->parent;
            node->color = red;
            if (!node->parent) {
                node->color = black;
                return;
            }
            if (node->parent->color == black)
                return;
        }
    }

    void insertCase4(Node* node) {
        Node* parent = node->parent;
        Node* grand = parent->parent;
        if (node == parent->right && parent == grand->left) {
            rotateLeft(parent);
            node = parent;
        } else if (node == parent->left && parent == grand->right) {
            rotateRight(parent);
            node = parent;
        }
        insertCase5(node);
    }

    void insertCase5(Node* node) {
        Node* parent = node->parent;
        Node* grand = parent->parent;
        parent->color = black;
        grand->color = red;
        if (node == parent->left && parent == grand->left)
            rotateRight(grand);
        else
            rotateLeft(grand);
    }

    void replaceChild(Node* parent, Node* old, Node* replacement) {
        if (!parent)
            root = replacement;
        else if (parent->left == old)
            parent->left = replacement;
        else
            parent->right = replacement;
        replacement->parent = parent;
    }

    void rotateLeft(Node* node) {
        Node* pivot = node->right;
        replaceChild(node->parent, node, pivot);
        node->right = pivot->left;
        if (pivot->left)
            pivot->left->parent = node;
        pivot->left = node;
        node->parent = pivot;
    }

    void rotateRight(Node* node) {
        Node* pivot = node->left;
        replaceChild(node->parent, node, pivot);
        node->left = pivot->right;
        if (pivot->right)
            pivot->right->parent = node;
        pivot->right = node;
        node->parent = pivot;
    }
};

} // namespace dff
