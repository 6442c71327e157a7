#pragma once

/// The words of settings files that stand in `Settings` for clients. The library itself uses these,
/// which are there before the first static initialiser and after the last destructor.
namespace settings::core::detail {

constexpr char settingsExtension[] = ".settings";
constexpr char settingsXMLFileHeader[] = R"(<?xml version="1.0" encoding="UTF-8"?>)";
constexpr char settingsXMLNameSpace[] = "urn:quillbyte.zenbar.settings";
constexpr char settingsSchemaInfo[] =
    R"(xmlns="urn:quillbyte.zenbar.settings" )"
    R"(xsi:schemaLocation="urn:quillbyte.zenbar.settings settings.xsd" )"
    R"(xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance")";

}  // namespace settings::core::detail
