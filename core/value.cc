#include "value.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "detail/shared_array.h"
#include "errors.h"

namespace mcp_responses {
namespace {

using Elements = detail::SharedArray<Value>;
using Members = detail::SharedArray<Member>;

template <class Storage>
Storage* storage_in(Payload payload) noexcept {
  return static_cast<Storage*>(const_cast<void*>(payload.pointer));
}

template <class Storage>
auto items_in(Payload payload) noexcept {
  const Storage* const storage = storage_in<Storage>(payload);
  using Items = decltype(std::span(storage->items(), storage->size()));
  return storage == nullptr ? Items() : Items(storage->items(), storage->size());
}

/// A list or an object of this library.
struct Container {
  const ValueOps* ops;
  Payload payload;
};
void destroy(Container doomed) noexcept;

/// The operations of this library's own lists and objects.
template <class Storage, const ValueOps& self>
constexpr ValueOps ops_of(Kind kind) {
  return {.kind = kind,
          .retain = [](Payload payload) noexcept { Storage::retain(storage_in<Storage>(payload)); },
          .release =
              [](Payload payload) noexcept {
                if (Storage::release(storage_in<Storage>(payload))) destroy({&self, payload});
              },
          .size = [](Payload payload) noexcept { return items_in<Storage>(payload).size(); }};
}

extern const ValueOps list_ops;
extern const ValueOps object_ops;
constinit const ValueOps list_ops = ops_of<Elements, list_ops>(Kind::list);
constinit const ValueOps object_ops = ops_of<Members, object_ops>(Kind::object);

Value& value_in(Value& element) noexcept { return element; }
Value& value_in(Member& member) noexcept { return member.value; }

bool is_container(const Value& value) noexcept {
  return &value.ops() == &list_ops || &value.ops() == &object_ops;
}

/// Calls `visitor` with the container's storage.
template <class Visitor>
auto visit_storage(const Container& container, Visitor visitor) noexcept {
  return container.ops == &list_ops ? visitor(storage_in<Elements>(container.payload))
                                    : visitor(storage_in<Members>(container.payload));
}

/// Destroys the elements after the last one that is a container, and returns that one. If there is
/// none, destroys all elements and the storage, and returns null.
Value* destroy_to_last_container(const Container& doomed) noexcept {
  return visit_storage(doomed, [](auto* storage) -> Value* {
    for (; storage->size() > 0; storage->remove_last()) {
      Value& last = value_in(storage->last());
      if (is_container(last)) return &last;
    }
    storage->free();
    return nullptr;
  });
}

/// Removes an owner. Returns true if it was the last one.
bool release(const Container& container) noexcept {
  return visit_storage(container, [](auto* storage) { return storage->release(storage); });
}

/// Frees a container without owners, and the containers in it that lose their last owner by that. The
/// stack does not grow with the depth, because of pointer reversal (Schorr and Waite, 1967): while a
/// container is being freed, its handle in the outer container refers to the next outer one.
void destroy(Container doomed) noexcept {
  Container outer{&null_ops, {.pointer = nullptr}};
  for (;;) {
    if (Value* const last = destroy_to_last_container(doomed)) {
      const Container inner{&last->ops(), last->payload()};
      if (release(inner)) {
        std::construct_at(last, *outer.ops, outer.payload);
        outer = std::exchange(doomed, inner);
      } else {
        std::construct_at(last);
      }
    } else {
      if (outer.ops == &null_ops) return;
      doomed = outer;
      Value* const reversed =
          visit_storage(doomed, [](auto* storage) -> Value* { return &value_in(storage->last()); });
      outer = {&reversed->ops(), reversed->payload()};
      std::construct_at(reversed);
    }
  }
}

bool is_number(Kind kind) {
  return kind == Kind::boolean || kind == Kind::integer || kind == Kind::real;
}

/// Compares exactly, without rounding the integer to a float.
bool equal(std::int64_t integer, double real) {
  constexpr double limit = 9223372036854775808.0;  // 2 to the 63rd
  return real >= -limit && real < limit && std::trunc(real) == real &&
         static_cast<std::int64_t>(real) == integer;
}

bool equal_numbers(const Value& a, const Value& b) {
  const auto real_a = a.real();
  const auto real_b = b.real();
  if (real_a && real_b) return *real_a == *real_b;
  if (real_a) return equal(*b.whole(), *real_a);
  if (real_b) return equal(*a.whole(), *real_b);
  return *a.whole() == *b.whole();
}

/// Two values to be compared, and the number of containers around each.
struct Pair {
  Value a;
  Value b;
  std::size_t levels = 0;
};

/// Compares kinds and contents, but only the sizes of lists and objects.
bool equal_shallow(const Value& a, const Value& b) {
  if (is_number(a.kind()) && is_number(b.kind())) return equal_numbers(a, b);
  if (a.kind() != b.kind()) return false;
  if (a.kind() != Kind::string) return a.size() == b.size();
  return *a.view() == *b.view();
}

/// Adds the pairs of elements, or of members with the same key, of two lists or objects of the same
/// size. A value without a counterpart is paired with NaN, which equals nothing.
void add_contents(const Pair& outer, std::vector<Pair>& contents) {
  check_nesting(outer.levels);
  const std::size_t levels = outer.levels + 1;
  const Value unequal = std::numeric_limits<double>::quiet_NaN();
  if (outer.a.kind() == Kind::list) {
    const List a = *outer.a.list();
    const List b = *outer.b.list();
    // The conversion of a foreign list may run code that changes the other one.
    if (a.size() != b.size()) return contents.push_back({unequal, unequal, levels});
    for (std::size_t i = 0; i < a.size(); ++i) contents.push_back({a[i], b[i], levels});
    return;
  }
  const Object a = *outer.a.object();
  const Object b = *outer.b.object();
  std::map<TextView, const Value*> by_key;
  for (const Member& member : b) by_key.emplace(member.key.view(), &member.value);
  for (const Member& member : a) {
    const auto found = by_key.find(member.key.view());
    contents.push_back({member.value, found == by_key.end() ? unequal : *found->second, levels});
  }
}

}  // namespace

Value::Value(List list) noexcept : Handle(std::move(list)) {}
Value::Value(Object object) noexcept : Handle(std::move(object)) {}

bool Value::truthy() const noexcept {
  switch (kind()) {
    case Kind::null:
      return false;
    case Kind::boolean:
      return payload().boolean;
    case Kind::integer:
      return ops().integer(payload()) != 0;
    case Kind::real:
      return payload().real != 0;
    case Kind::string:
      return ops().text(payload()).size != 0;
    case Kind::list:
    case Kind::object:
      return ops().size(payload()) != 0;
  }
  return false;
}

std::optional<std::int64_t> Value::whole() const noexcept {
  const auto truth = boolean();
  return truth ? std::optional<std::int64_t>(*truth) : integer();
}

std::optional<Text> Value::text() const noexcept {
  if (kind() != Kind::string) return {};
  if (ops().retain != nullptr) ops().retain(payload());
  return Text(ops(), payload());
}

std::optional<List> Value::list() const {
  if (kind() != Kind::list) return {};
  return List(List::FromHandle(), is_foreign() ? ops().materialized(payload()) : *this);
}

std::optional<Object> Value::object() const {
  if (kind() != Kind::object) return {};
  return Object(Object::FromHandle(), is_foreign() ? ops().materialized(payload()) : *this);
}

Value Value::get(const Text& key) const {
  if (kind() != Kind::object) return {};
  return ops().get == nullptr ? Object(Object::FromHandle(), *this).get(key)
                              : ops().get(payload(), key.view());
}

std::span<const Value> Value::elements() const noexcept {
  assert(kind() == Kind::list && !is_foreign());
  return items_in<Elements>(payload());
}

std::span<const Member> Value::members() const noexcept {
  assert(kind() == Kind::object && !is_foreign());
  return items_in<Members>(payload());
}

std::optional<std::size_t> Value::size() const noexcept {
  if (kind() != Kind::list && kind() != Kind::object) return {};
  return ops().size(payload());
}

bool operator==(const Value& a, const Value& b) {
  if (!equal_shallow(a, b)) return false;
  if (!a.size()) return true;
  // An explicit stack, because values may be nested deeply.
  std::vector<Pair> pairs;
  add_contents({a, b}, pairs);
  while (!pairs.empty()) {
    const Pair pair = std::move(pairs.back());
    pairs.pop_back();
    if (!equal_shallow(pair.a, pair.b)) return false;
    if (pair.a.size()) add_contents(pair, pairs);
  }
  return true;
}

List::List() noexcept : Handle(list_ops, Payload{.pointer = nullptr}) {}

List List::repeated(std::size_t count, const Value& element) {
  List list;
  list.reserve(count);
  for (std::size_t i = 0; i < count; ++i) list.append(element);
  return list;
}

std::span<const Value> List::items() const noexcept { return items_in<Elements>(payload()); }

List::Storage& List::writable(std::size_t more) {
  Storage* storage = Storage::writable(storage_in<Storage>(payload()), more);
  set_payload({.pointer = storage});
  return *storage;
}

void List::set(std::size_t position, Value element) {
  assert(position < size());
  writable(0).items()[position] = std::move(element);
}
void List::append(Value element) { writable(1).add(std::move(element)); }
void List::remove_last() { writable(0).remove_last(); }
void List::reserve(std::size_t more) { writable(more); }

void List::extend(const List& other) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): `other` may be this list
  const List elements = other;
  reserve(elements.size());
  for (const Value& element : elements) append(element);
}

List List::first(std::size_t count) const {
  List list;
  list.reserve(std::min(count, size()));
  for (const Value& element : items().first(std::min(count, size()))) list.append(element);
  return list;
}

Object::Object() noexcept : Handle(object_ops, Payload{.pointer = nullptr}) {}

Object::Object(std::initializer_list<Member> members) : Object() {
  reserve(members.size());
  for (const Member& member : members) set(member.key, member.value);
}

std::span<const Member> Object::items() const noexcept { return items_in<Members>(payload()); }

const Member* Object::find(const Text& key) const noexcept {
  // Most keys are literals, and equal literals are mostly the same one: compare addresses first.
  for (const Member& member : items()) {
    if (&member.key.ops() == &literal_ops && member.key.payload().pointer == key.payload().pointer)
      return &member;
  }
  const TextView wanted = key.view();
  for (const Member& member : items()) {
    if (member.key.view() == wanted) return &member;
  }
  return nullptr;
}

Object::Storage& Object::writable(std::size_t more) {
  Storage* storage = Storage::writable(storage_in<Storage>(payload()), more);
  set_payload({.pointer = storage});
  return *storage;
}

Value Object::get(const Text& key, const Value& fallback) const noexcept {
  const Member* member = find(key);
  return member == nullptr ? fallback : member->value;
}

List Object::keys() const {
  List keys;
  keys.reserve(size());
  for (const Member& member : items()) keys.append(member.key);
  return keys;
}

void Object::set(const Text& key, Value value) {
  const Member* member = find(key);
  if (member == nullptr) return add(key, std::move(value));
  const auto position = member - items().data();
  writable(0).items()[position].value = std::move(value);
}

void Object::add(Text key, Value value) {
  writable(1).add(Member{std::move(key), std::move(value)});
}

void Object::update(const Object& other) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): `other` may be this object
  const Object members = other;
  for (const Member& member : members) set(member.key, member.value);
}

void Object::reserve(std::size_t more) { writable(more); }

}  // namespace mcp_responses
