// The records of a parsed expression and the list that holds them.
#include <kalto/xpath.h>

#include <new>

XPathAction::~XPathAction() {
    delete[] name;
    delete[] attributeName;
    delete[] value;
}

int CVurlXPParseList::Push(void* data) {
    CVurlXPNode* cell = new (std::nothrow) CVurlXPNode;
    if (!cell)
        return 0;
    cell->data = data;
    cell->previous = tail;
    if (tail)
        tail->next = cell;
    else
        head = current = cell;
    tail = cell;
    ++count;
    return 1;
}

void* CVurlXPParseList::Pop() {
    CVurlXPNode* cell = head;
    if (!cell)
        return nullptr;
    void* data = cell->data;
    head = cell->next;
    if (head)
        head->previous = nullptr;
    else
        tail = nullptr;
    if (current == cell)
        current = head;
    --count;
    delete cell;
    return data;
}

int CVurlXPParseList::Next() {
    if (!current || !current->next)
        return 0;
    current = current->next;
    return 1;
}

int CVurlXPParseList::Prev() {
    if (!current || !current->previous)
        return 0;
    current = current->previous;
    return 1;
}

void CVurlXPParseList::Head() {
    current = head;
}

void CVurlXPParseList::Tail() {
    current = tail;
}

void* CVurlXPParseList::PeekCurrent() const {
    return current ? current->data : nullptr;
}

void* CVurlXPParseList::PeekTail() const {
    return tail ? tail->data : nullptr;
}
