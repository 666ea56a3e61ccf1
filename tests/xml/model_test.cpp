// Random edits on documents beside a plain tree that does the same the obvious way.
#include "tests/xml/tree_text.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <list>
#include <random>
#include <vector>

namespace {

struct Model {
    std::string name;
    std::string text; // empty: none
    std::vector<std::pair<std::string, std::string>> attributes;
    std::list<Model> children;
    Model* parent = nullptr;

    Model() = default;
    Model(const Model& other) : name(other.name), text(other.text), attributes(other.attributes) {
        for (const Model& child : other.children)
            adopt(children.insert(children.end(), child));
    }
    Model& operator=(const Model&) = delete;
    Model* adopt(std::list<Model>::iterator child) {
        child->parent = this;
        return &*child;
    }
    std::list<Model>::iterator place() {
        return std::find_if(parent->children.begin(), parent->children.end(),
                            [this](const Model& sibling) { return &sibling == this; });
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
        const char* before = "(";
        for (const Model& child : children) {
            out += before + child.str();
            before = ",";
        }
        return out + (children.empty() ? "" : ")");
    }
};

// One document, its model, and an element in both.
struct Pair {
    CVurlDOM dom{1};
    Model model;
    CVurlIterator it;
    Model* at = &model;

    Pair() {
        dom.CreateDOM("r");
        model.name = "r";
        it.BindToDOM(&dom);
    }
    void wander(std::mt19937* random) {
        for (auto steps = (*random)() % 6; steps > 0; --steps) {
            switch ((*random)() % 4) {
            case 0:
                if (it.ToParentElement() != 0)
                    at = at->parent;
                break;
            case 1:
                if (it.ToNextElement() != 0)
                    at = &*std::next(at->place());
                break;
            default:
                if (it.ToChildElement() != 0)
                    at = &at->children.front();
            }
        }
        ASSERT_EQ(it.GetTagName(), at->name);
    }
    void insert(VURL_LOCATION where, const Model& added) {
        if (where >= VURL_FIRST_CHILD) {
            at->text.clear();
            const auto place = where == VURL_FIRST_CHILD ? at->children.begin() : at->children.end();
            at = at->adopt(at->children.insert(place, added));
        } else if (at->parent != nullptr) {
            std::list<Model>& siblings = at->parent->children;
            const auto place = where == VURL_NEXT_SIBLING    ? std::next(at->place())
                               : where == VURL_FIRST_SIBLING ? siblings.begin()
                                                             : siblings.end();
            at = at->parent->adopt(siblings.insert(place, added));
        }
    }
};

std::string word(std::mt19937* random) {
    std::string text;
    for (auto length = 1 + (*random)() % 20; length > 0; --length)
        text += "ab&<>\"'\xC3]![ \n"[(*random)() % 13];
    return text;
}

void edit(Pair* pair, Pair* other, std::mt19937* random) {
    const auto where = static_cast<VURL_LOCATION>((*random)() % 5);
    CVurlIterator& it = pair->it;
    Model added;
    switch ((*random)() % 9) {
    case 0:
    case 1:
        added.name = std::string(1, static_cast<char>('a' + (*random)() % 26));
        EXPECT_EQ(it.InsertElement(added.name.c_str(), where),
                  where >= VURL_FIRST_CHILD || pair->at->parent != nullptr);
        pair->insert(where, added);
        break;
    case 2:
        it.InsertCopyOfElement(other->it, where);
        pair->insert(where, Model(*other->at));
        break;
    case 3:
        if (pair->at->parent != nullptr) {
            it.DeleteElement();
            it.ToParentElement();
            Model* parent = pair->at->parent;
            parent->children.erase(pair->at->place());
            pair->at = parent;
        }
        break;
    case 4:
        it.DeleteChildren();
        pair->at->children.clear();
        break;
    case 5:
        added.text = word(random);
        it.SetData(added.text.c_str());
        if (pair->at->children.empty())
            pair->at->text = added.text;
        break;
    case 6:
        added.name = std::string(1, static_cast<char>('a' + (*random)() % 3));
        added.text = word(random);
        it.SetAttribute(added.name.c_str(), added.text.c_str());
        pair->at->set_attribute(added.name, added.text);
        break;
    case 7:
        if (!pair->at->attributes.empty()) {
            it.DeleteAttribute(pair->at->attributes.back().first.c_str());
            pair->at->attributes.pop_back();
        }
        break;
    default:
        pair->dom.Clean();
    }
}

size_t size_of(const Model& model) {
    size_t count = 1;
    for (const Model& child : model.children)
        count += size_of(child);
    return count;
}

} // namespace

TEST(RandomEdits, LeaveTheTreeThatAPlainOneWouldBe) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        Pair pairs[2];
        for (int step = 0; step < 300; ++step) {
            Pair* pair = &pairs[random() % 2];
            Pair* other = &pairs[random() % 2];
            pair->wander(&random);
            other->wander(&random);
            if (size_of(pair->model) > 400) {
                pair->it.ToRootElement();
                pair->at = &pair->model;
                pair->it.DeleteChildren();
                pair->model.children.clear();
            }
            if (other ==
                pair) // a copy into itself is made before it is inserted, of the element in its old shape
                other = &pairs[pair == &pairs[0] ? 1 : 0];
            edit(pair, other, &random);
            ASSERT_EQ(tree_text(pair->dom), pair->model.str()) << "seed " << seed << " step " << step;
            ASSERT_EQ(*static_cast<unsigned char*>(pair->it.UserData()), 0) << "user data is never inherited";
        }
        for (Pair& pair : pairs) {
            CVurlDOM read;
            const char* text = pair.dom.WriteDoc(nullptr, 0);
            if (read.ReadDoc(text) != 0) // deeper than the parser goes otherwise
                EXPECT_EQ(tree_text(read), pair.model.str());
            else
                EXPECT_EQ(read.m_nError, 2u) << text;
        }
    }
}
