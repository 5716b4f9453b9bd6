#include "common/StatXml.h"

#include "common/CommandLine.h"

namespace procedure {

using MCCommon_930::MCMV;
using MCXML_930::MCStatXMLUtil;
using MCXML_930::XMLElement;

std::string Legal(std::string name)
{
    for (char& c : name)
        if (static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n' && c != '\r') c = '?';
    return name;
}

void AddStatistic(XMLElement& parent, const char* name, double value)
{
    parent.AddElement(MCMV::IsMissing(value) ? MCStatXMLUtil::CreateElemStatistic(name, std::string("__MISSING__"))
                                             : MCStatXMLUtil::CreateElemStatistic(name, value));
}

void AddStatistic(XMLElement& parent, const char* name, const std::string& value)
{
    parent.AddElement(MCStatXMLUtil::CreateElemStatistic(name, Legal(value)));
}

XMLElement* CreateSettings(const MCXML_930::MCSettings& settings)
{
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Settings");
    for (std::size_t i = 0; i < settings.Size(); ++i) {
        const MCXML_930::MCSetting& setting = settings.At(i);
        if (setting.GetGroup() != kRun) AddStatistic(*block, setting.GetName().c_str(), setting.Get().GetString());
    }
    return block;
}

std::string TrueOrFalse(bool value)
{
    return value ? "true" : "false";
}

} // namespace procedure
