#include "Introspection.h"

namespace comm {
namespace {

std::string argument(const char* name, const char* signature, const char* direction)
{
    const std::string way = *direction != '\0' ? std::string{" direction=\""} + direction + "\"" : std::string{};
    return std::string{"   <arg name=\""} + name + "\" type=\"" + signature + "\"" + way + "/>\n";
}

std::string id(std::uint32_t number)
{
    return "   <annotation name=\"comm.Id\" value=\"" + std::to_string(number) + "\"/>\n";
}

std::string request(const MethodInfo& method)
{
    std::string text = std::string{"  <method name=\""} + method.name + "\">\n" + id(method.id);
    for (const auto& one : method.arguments) {
        text += argument(one.name, one.signature, "in");
    }
    if (*method.resultSignature != '\0') {
        text += argument("result", method.resultSignature, "out");
    }
    return text + "  </method>\n";
}

std::string reply(const MethodInfo& method)
{
    std::string text = std::string{"  <signal name=\""} + method.name + "\">\n" + id(method.id);
    for (const auto& one : method.arguments) {
        text += argument(one.name, one.signature, "");
    }
    return text + "  </signal>\n";
}

std::string update(const AttributeInfo& attribute)
{
    return std::string{"  <signal name=\""} + attribute.updateName + "\">\n" + id(attribute.id) +
           argument("value", attribute.signature, "") + argument("isValid", "b", "") + "  </signal>\n";
}

std::string property(const AttributeInfo& attribute)
{
    return std::string{"  <property name=\""} + attribute.name + "\" type=\"(" + attribute.signature +
           "b)\" access=\"read\">\n" + id(attribute.id) + "  </property>\n";
}

std::string reserved(const ReservedName& one)
{
    return std::string{"  <method name=\""} + one.name + "\">\n" + id(one.request) +
           (one.namesAttribute ? argument("attribute", "u", "in") : "") + "  </method>\n";
}

constexpr char kHead[] = "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
                         "\"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n"
                         "<node>\n"
                         " <interface name=\"org.freedesktop.DBus.Introspectable\">\n"
                         "  <method name=\"Introspect\"><arg name=\"data\" type=\"s\" direction=\"out\"/></method>\n"
                         " </interface>\n"
                         " <interface name=\"org.freedesktop.DBus.Properties\">\n"
                         "  <method name=\"Get\"><arg name=\"interface\" type=\"s\" direction=\"in\"/>"
                         "<arg name=\"property\" type=\"s\" direction=\"in\"/>"
                         "<arg name=\"value\" type=\"v\" direction=\"out\"/></method>\n"
                         "  <method name=\"GetAll\"><arg name=\"interface\" type=\"s\" direction=\"in\"/>"
                         "<arg name=\"properties\" type=\"a{sv}\" direction=\"out\"/></method>\n"
                         " </interface>\n";

} // namespace

std::string introspect(const ServiceInfo& info)
{
    std::string text = kHead;
    text += " <interface name=\"" + info.name + "\">\n";
    text += "  <method name=\"connect\"/>\n  <method name=\"disconnect\"/>\n";
    for (const auto& method : info.requests) {
        text += request(method);
    }
    for (const auto& one : kReservedNames) {
        text += reserved(one);
    }
    for (const auto& attribute : info.attributes) {
        text += property(attribute);
    }
    text += " </interface>\n <interface name=\"" + info.replyInterface() + "\">\n";
    for (const auto& method : info.replies) {
        text += reply(method);
    }
    for (const auto& attribute : info.attributes) {
        text += update(attribute);
    }
    return text + " </interface>\n</node>\n";
}

std::string ServiceInfo::objectPath(std::uint32_t instance) const
{
    std::string path = "/" + name + "/" + std::to_string(instance);
    for (auto& byte : path) {
        if (byte == '.') {
            byte = '/';
        }
    }
    return path;
}

} // namespace comm
