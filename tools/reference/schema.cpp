#include "schema.h"

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "device/documents/document_shapes.h"
#include "json_text.h"
#include "patterns.h"

namespace reference {

using documents::Kind;
using documents::Member;
using documents::Object;

namespace {

// The library would cut a text at a NUL.
constexpr const char* NO_NUL = "[^\\u0000]*$";

Json Typed(const char* type) {
  Json json;
  json.Add("type", Json::Text(type));
  return json;
}

Json TextLike(const std::string& pattern) {
  Json json = Typed("string");
  json.Add("pattern", Json::Text(pattern));
  return json;
}

Json Number(const Member& member) {
  Json json = Typed("integer");
  json.Add("minimum", Json::Number(member.low)).Add("maximum", Json::Number(member.high));
  return json;
}

Json Either(Json one, Json other) {
  Json json;
  json.Add("anyOf", Json::Array({std::move(one), std::move(other)}));
  return json;
}

// A schema counts characters, not bytes: of these there are at least as many.
Json BoundedText(const Member& member, const std::string& pattern) {
  Json json = Typed("string");
  if (member.low > 0) {
    json.Add("minLength", Json::Number(1));
  }
  if (member.high != documents::ANY_LENGTH) {
    json.Add("maxLength", Json::Number(member.high));
  }
  return json.Add("pattern", Json::Text(pattern));
}

Json Words(const char* const* words) {
  std::vector<Json> texts;
  for (; *words != nullptr; ++words) {
    texts.push_back(Json::Text(*words));
  }
  Json json;
  json.Add("enum", Json::Array(std::move(texts)));
  return json;
}

const Member* Find(const Object& object, const std::function<bool(const Member&)>& isIt) {
  const Member* const end = object.members + object.count;
  const Member* const found = std::find_if(object.members, end, isIt);
  return found == end ? nullptr : found;
}

// {"properties": {NAME: VALUE}}, with the member required.
Json With(const char* name, Json value) {
  Json property;
  property.Add(name, std::move(value));
  Json json;
  json.Add("required", Json::Array({Json::Text(name)})).Add("properties", std::move(property));
  return json;
}

class Writer {
 public:
  std::string Write(const std::string& name, const Object& root) {
    Json schema;
    schema.Add("$schema", Json::Text("http://json-schema.org/draft-07/schema#"))
        .Add("$id", Json::Text(name))
        .Add("title", Json::Text(root.title));
    AddMembers(schema, root, true);
    Json definitions;
    for (const Definition& definition : m_definitions) {
      definitions.Add(definition.name, definition.schema);
    }
    definitions.Add("name", NameSchema()).Add("anything", Anything());
    schema.Add("definitions", std::move(definitions));
    return schema.Print() + '\n';
  }

 private:
  struct Definition {
    std::string name;
    const Object* object;  // null: of a text
    Json schema;
  };

  static Json Reference(const std::string& name) {
    Json json;
    json.Add("$ref", Json::Text("#/definitions/" + name));
    return json;
  }

  static Json NameSchema() {
    Json json;
    json.Add("pattern", Json::Text(std::string("^") + NO_NUL));
    return json;
  }

  // Any value without a null in it.
  static Json Anything() {
    Json json;
    std::vector<Json> types;
    for (const char* type : {"object", "array", "string", "number", "boolean"}) {
      types.push_back(Json::Text(type));
    }
    json.Add("type", Json::Array(std::move(types)))
        .Add("items", Reference("anything"))
        .Add("propertyNames", Reference("name"))
        .Add("additionalProperties", Reference("anything"));
    return json;
  }

  /// A reference to what `write` returns; the first call of a name defines it.
  template <class Write>
  Json Defined(const std::string& name, const Object* object, Write write) {
    const auto known = std::find_if(m_definitions.begin(), m_definitions.end(),
                                    [&](const Definition& d) { return d.name == name; });
    if (known == m_definitions.end()) {
      const std::size_t index = m_definitions.size();
      m_definitions.push_back({name, object, Json()});
      Json schema = write();
      m_definitions[index].schema = std::move(schema);
    } else if (known->object != object) {
      throw std::logic_error("two different objects are called " + name);
    }
    return Reference(name);
  }

  Json Text(const char* name, const std::string& pattern, const char* format = nullptr) {
    return Defined(name, nullptr, [&] {
      Json json = TextLike(pattern);
      if (format != nullptr) {
        json.Add("format", Json::Text(format));
      }
      return json;
    });
  }

  Json ObjectSchema(const Object& object) {
    std::string name = object.title;
    std::replace(name.begin(), name.end(), ' ', '-');
    return Defined(name, &object, [&] {
      Json json;
      AddMembers(json, object, false);
      return json;
    });
  }

  // A note is not a member of an object that may not be empty.
  static std::vector<Json> OneOf(const Object& object) {
    std::vector<Json> alternatives;
    for (std::size_t i = 0; i < object.count; ++i) {
      alternatives.push_back(
          Json().Add("required", Json::Array({Json::Text(object.members[i].name)})));
    }
    return alternatives;
  }

  void AddMembers(Json& json, const Object& object, bool isRoot) {
    std::vector<Json> required;
    Json properties;
    if (isRoot) {
      properties.Add("$schema", Reference("anything"));
    }
    for (std::size_t i = 0; i < object.count; ++i) {
      const Member& member = object.members[i];
      properties.Add(member.name, Described(member));
      if (member.isRequired) {
        required.push_back(Json::Text(member.name));
      }
    }
    json.Add("type", Json::Text("object"));
    if (!required.empty()) {
      json.Add("required", Json::Array(std::move(required)));
    } else if (!object.mayBeEmpty) {
      json.Add("anyOf", Json::Array(OneOf(object)));
    }
    Json freely;
    freely.Add(std::string("^x-") + NO_NUL, Reference("anything"));
    json.Add("properties", std::move(properties))
        .Add("patternProperties", std::move(freely))
        .Add("additionalProperties", Json::Flag(false));
    AddFamily(json, object);
    AddPassThrough(json, object);
  }

  // The family of a peer decides what its address looks like.
  void AddFamily(Json& json, const Object& object) {
    const Member* const address =
        Find(object, [](const Member& member) { return member.kind == Kind::IP4_OR_IP6; });
    if (address == nullptr) {
      return;
    }
    Json isIp6;
    isIp6.Add("const", Json::Number(1));
    Json ip4;
    Json ip6;
    ip4.Add(address->name, Text("IPv4-address", Ip4Address(), "ipv4"));
    ip6.Add(address->name, Text("IPv6-address", Ip6Address(), "ipv6"));
    json.Add("if", With("afi", std::move(isIp6)))
        .Add("then", Json().Add("properties", std::move(ip6)))
        .Add("else", Json().Add("properties", std::move(ip4)));
  }

  // The library adds one to a metric that is not passed through; 255 would become 0.
  static void AddPassThrough(Json& json, const Object& object) {
    if (&object != &documents::Route4Shape()) {
      return;
    }
    const std::uint32_t high =
        Find(object, [](const Member& member) { return member.kind == Kind::DIGITS; })->high;
    Json number;
    number.Add("const", Json::Number(high));
    json.Add("if", With("metric", Either(std::move(number), TextLike(Digits(high, high)))))
        .Add("then", With("routemetricmode", Json().Add("pattern", Json::Text("^passthrough"))));
  }

  Json Described(const Member& member) {
    Json json;
    if (member.meaning != nullptr) {
      json.Add("description", Json::Text(member.meaning));
    }
    if (member.standardText == nullptr && !member.isRequired) {
      AddDefault(json, member);
    }
    return json.AddAll(Value(member));
  }

  static void AddDefault(Json& json, const Member& member) {
    switch (member.kind) {
      case Kind::FLAG:
        json.Add("default", Json::Flag(member.standard != 0));
        break;
      case Kind::NUMBER:
      case Kind::DIGITS:
      case Kind::PREFIX_LENGTH:
        json.Add("default", Json::Number(member.standard));
        break;
      case Kind::WORD:
      case Kind::ANY_CASE_WORD:
        json.Add("default", Json::Text(member.words[member.standard]));
        break;
      default:
        break;
    }
  }

  Json Value(const Member& member) {
    switch (member.kind) {
      case Kind::FLAG:
        return Typed("boolean");
      case Kind::NUMBER:
        return Number(member);
      case Kind::DIGITS:
        return Either(Number(member), TextLike(Digits(member.low, member.high)));
      case Kind::PREFIX_LENGTH:
        return Either(Number(member), TextLike(PrefixLength(member.low, member.high)));
      case Kind::TEXT:
        return BoundedText(member, std::string("^") + NO_NUL);
      case Kind::DESCRIPTION:
        return BoundedText(member, std::string("^(?!\\.\\*)") + NO_NUL);
      case Kind::WORD:
        return Words(member.words);
      case Kind::ANY_CASE_WORD:
        return TextLike(AnyCase(member.words));
      case Kind::INTERFACE_NAME:
        return BoundedText(member, Graphic());
      case Kind::ROW_NAME:
        return TextLike(RowName(*member.row, documents::MAX_VLAN));
      default:
        return Address(member);
    }
  }

  Json Address(const Member& member) {
    switch (member.kind) {
      case Kind::IP4:
        return Text("IPv4-address", Ip4Address(), "ipv4");
      case Kind::IP6:
        return Text("IPv6-address", Ip6Address(), "ipv6");
      case Kind::IP4_MASK:
        return Text("IPv4-mask", Ip4Mask());
      case Kind::IP4_GROUP:
        return Text("IPv4-group-address", Ip4Group(), "ipv4");
      case Kind::IP6_GROUP:
        return Text("IPv6-group-address", Ip6Group(), "ipv6");
      case Kind::IP4_PREFIX:
        return TextLike(Ip4Prefix());
      case Kind::IP6_PREFIX:
        return TextLike(Ip6Prefix());
      case Kind::IP4_OR_IP6:
        return Typed("string");  // the object says more, see AddFamily
      default:
        return Container(member);
    }
  }

  Json Container(const Member& member) {
    switch (member.kind) {
      case Kind::OBJECT:
        return ObjectSchema(*member.object);
      case Kind::ANY_OBJECT:
        return Typed("object")
            .Add("propertyNames", Reference("name"))
            .Add("additionalProperties", Reference("anything"));
      case Kind::LIST:
      case Kind::ROUTES: {
        Json json;
        json.Add("type", Json::Array({Json::Text("object"), Json::Text("array")}))
            .Add("propertyNames", Reference("name"))
            .Add("additionalProperties", ObjectSchema(*member.object))
            .Add("items", ObjectSchema(*member.object));
        return json;
      }
      case Kind::ARRAY:
        return Typed("array").Add("items", Value(*member.element));
      case Kind::VLAN_NAMES:
        return Typed("object")
            .Add("propertyNames", Json().Add("pattern", Json::Text(Digits(0, member.high))))
            .Add("additionalProperties", TextLike(Graphic()));
      case Kind::VLAN_NUMBERS:
        return Typed("object")
            .Add("propertyNames", Json().Add("pattern", Json::Text(Digits(0, member.high))))
            .Add("additionalProperties", Value(*member.element));
      case Kind::VLANS_BY_NAME:
        return Typed("object")
            .Add("propertyNames", Value(*member.element))
            .Add("additionalProperties", Number(member));
      case Kind::ELSEWHERE:
        return Json().Add("not", Json());
      default:
        throw std::logic_error(std::string("no schema for the kind of ") + member.name);
    }
  }

  std::vector<Definition> m_definitions;
};

}  // namespace

std::string Schema(const std::string& name, const Object& root) {
  return Writer().Write(name, root);
}

}  // namespace reference
