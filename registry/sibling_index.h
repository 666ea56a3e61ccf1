// Looking up a name among the children of one element without walking all of them.
//
// What a look-up gives is defined by a walk: from the first child on, up to the first one that sorts after
// the sought pair of name and tag; the first equal one on the way is the match. The files are sorted, but a
// hand-edited one need not be, and the walk's result holds for it as well. The index gives the same result
// because of this: call a child a record when it sorts after every child in front of it. The walk stops at
// the first record that sorts after the sought pair, and a match, if there is one, is a record. So the
// records, which are sorted in any file, answer each look-up:
//   1. records_ holds all records of the chain, in order; the hash table holds exactly the same elements.
//   2. strict_ says that every child is a record. Only then can one be removed without building anew.
//   3. Names fold as the C locale of the process says; an index made under another one is not used.
// An index is only a cache: when memory runs out it is dropped and the walk is made. Guarded by the registry
// lock.
#ifndef KALTO_REGISTRY_SIBLING_INDEX_H
#define KALTO_REGISTRY_SIBLING_INDEX_H

#include <kalto/xml.h>

namespace kalto {

// Where a name belongs among the children of one element.
struct Place {
    CVurlNode* match; // the element of that tag and name, or null
    CVurlNode*
        before; // without a match: the child that a new element goes behind, or null to become the first
};

// The match alone, and the match or else the place of a new element.
CVurlNode* find_match(CVurlNode* parent, const char* tag, const char* name);
Place find_place(CVurlNode* parent, const char* tag, const char* name);

// To be told of every change to a chain: node was linked at the place that find_place gave last, or is about
// to be unlinked. Any other change: drop the indices first.
void child_inserted(CVurlNode* parent, CVurlNode* node);
void child_removed(CVurlNode* parent, CVurlNode* node);
void drop_indices();

// The same look-up by walking. With a limit, gives up after that many children: false.
bool walk_to_place(CVurlNode* parent, const char* tag, const char* name, long limit, Place& place);

} // namespace kalto

#endif
