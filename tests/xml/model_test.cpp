// Random edits on documents beside a plain tree that does the same the obvious way.
#include "tests/xml/tree_text.h"
#include <algorithm>
#include <deque>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

struct Model {
    std::string name;
    std::string text; // empty: none
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<Model*> children;
    Model* parent = nullptr;

    std::vector<Model*>::iterator place() {
        return std::find(parent->children.begin(), parent->children.end(), this);
    }
    void set_attribute(const std::string& key, const std::string& value) {
        for (auto& attribute : attributes) {
            if (attribute.first == key) {
                attribute.second = value;
                return;
            }
        }
        attributes.emplace_back(key, value);
    }
    std::string str() const {
        std::string out = name;
        for (size_t i = 0; i < attributes.size(); ++i)
            out += (i == 0 ? "[" : ",") + attributes[i].first + "=" + attributes[i].second;
        out += attributes.empty() ? "" : "]";
        out += text.empty() ? "" : "'" + text + "'";
        for (size_t i = 0; i < children.size(); ++i)
            out += (i == 0 ? "(" : ",") + children[i]->str();
        return out + (children.empty() ? "" : ")");
    }
};

std::deque<Model> g_models; // all that ever were

Model* copy_of(const Model& model, Model* parent) {
    Model* const copy = &g_models.emplace_back(model);
    copy->parent = parent;
    for (Model*& child : copy->children)
        child = copy_of(*child, copy);
    return copy;
}

// One document, its model, and an element in both.
struct Pair {
    CVurlDOM dom{1};
    CVurlIterator it;
    Model* model = copy_of({"r", "", {}, {}, nullptr}, nullptr);
    Model* at = model;

    Pair() {
        dom.CreateDOM("r");
        it.BindToDOM(&dom);
    }
    void wander(std::mt19937* random) {
        for (auto steps = (*random)() % 6; steps > 0; --steps) {
            const auto direction = (*random)() % 4;
            if (direction == 0 && it.ToParentElement() != 0)
                at = at->parent;
            else if (direction == 1 && it.ToNextElement() != 0)
                at = at->place()[1];
            else if (direction > 1 && it.ToChildElement() != 0)
                at = at->children.front();
        }
        ASSERT_EQ(it.GetTagName(), at->name);
    }
    void insert(VURL_LOCATION where, const Model& added) {
        const bool inside = where >= VURL_FIRST_CHILD;
        Model* const parent = inside ? at : at->parent;
        if (parent == nullptr)
            return;
        if (inside)
            at->text.clear();
        const bool first = where == VURL_FIRST_SIBLING || where == VURL_FIRST_CHILD;
        const auto place = where == VURL_NEXT_SIBLING ? at->place() + 1
                           : first                    ? parent->children.begin()
                                                      : parent->children.end();
        at = *parent->children.insert(place, copy_of(added, parent));
    }
};

std::string word(std::mt19937* random) {
    std::string text;
    for (auto length = 1 + (*random)() % 20; length > 0; --length)
        text += "ab&<>\"'\xC3]![ \n"[(*random)() % 13];
    return text;
}

void edit(Pair* pair, const Pair& other, std::mt19937* random) {
    const auto where = static_cast<VURL_LOCATION>((*random)() % 5);
    const std::string name(1, static_cast<char>('a' + (*random)() % 5));
    const std::string text = word(random);
    CVurlIterator& it = pair->it;
    Model* const at = pair->at;
    switch ((*random)() % 9) {
    case 0:
    case 1:
        EXPECT_EQ(it.InsertElement(name.c_str(), where), where >= VURL_FIRST_CHILD || at->parent != nullptr);
        pair->insert(where, {name, "", {}, {}, nullptr});
        break;
    case 2:
        it.InsertCopyOfElement(other.it, where);
        pair->insert(where, *other.at);
        break;
    case 3:
        it.DeleteElement();
        if (it.ToParentElement() != 0) {
            pair->at = at->parent;
            at->parent->children.erase(at->place());
        }
        break;
    case 4:
        it.DeleteChildren();
        at->children.clear();
        break;
    case 5:
        it.SetData(text.c_str());
        at->text = at->children.empty() ? text : "";
        break;
    case 6:
        it.SetAttribute(name.c_str(), text.c_str());
        at->set_attribute(name, text);
        break;
    case 7:
        it.DeleteAttribute(at->attributes.empty() ? "absent" : at->attributes.back().first.c_str());
        if (!at->attributes.empty())
            at->attributes.pop_back();
        break;
    default:
        pair->dom.Clean();
    }
}

} // namespace

TEST(RandomEdits, LeaveTheTreeThatAPlainOneWouldBe) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        Pair pairs[2];
        for (int step = 0; step < 300; ++step) {
            // Two documents: a copy into itself is made of the element in its old shape.
            Pair* const pair = &pairs[random() % 2];
            Pair* const other = &pairs[pair == &pairs[0] ? 1 : 0];
            pair->wander(&random);
            other->wander(&random);
            edit(pair, *other, &random);
            const std::string expected = pair->model->str();
            ASSERT_EQ(tree_text(pair->dom), expected) << "seed " << seed << " step " << step;
            ASSERT_EQ(*static_cast<unsigned char*>(pair->it.UserData()), 0) << "user data is never inherited";
            if (expected.size() > 8000) {
                pair->it.ToRootElement();
                pair->at = pair->model;
                pair->it.DeleteChildren();
                pair->model->children.clear();
            }
        }
        for (Pair& pair : pairs) {
            CVurlDOM read;
            const char* text = pair.dom.WriteDoc(nullptr, 0);
            if (read.ReadDoc(text) != 0) // deeper than the parser goes otherwise
                EXPECT_EQ(tree_text(read), pair.model->str());
            else
                EXPECT_EQ(read.m_nError, 2u) << text;
        }
        g_models.clear();
    }
}
