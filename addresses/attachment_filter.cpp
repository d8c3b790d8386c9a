// Refused attachments: load_attachment_filter, set_attachment_filter.
#include "platform/mailvane/attachment_filter.h"

#include <boost/foreach.hpp>
#include <list>

#include "frame/mailvane_handler.h"
#include "platform/mailvane/postfix.h"

namespace {

std::list<std::string> Texts(const Json::Value& array)
{
    std::list<std::string> texts;
    for (Json::ArrayIndex i = 0; i < array.size(); ++i) texts.push_back(array[i].asString());
    return texts;
}

Outcome ListTypes(const std::string& query, Json::Value& response)
{
    std::list<std::string> types;
    const int total = AttachmentFilter::GetList(types, query);
    if (total < 0) return Outcome::SystemError();

    types.sort();
    Json::Value& items = response["file_types"] = Json::Value(Json::arrayValue);
    BOOST_FOREACH (const std::string& type, types) {
        Json::Value item;
        item["file_type"] = type;
        items.append(item);
    }
    response["total"] = total;
    return Outcome::Success();
}

Outcome ChangeTypes(const Json::Value& in)
{
    const std::list<std::string> removed = Texts(in["modified_list"]);
    const std::list<std::string> added = Texts(in["add_list"]);
    if (!removed.empty()) (void)AttachmentFilter::Delete(removed);
    if (!added.empty() && AttachmentFilter::Add(added) < 0) return Outcome::SystemError();
    if (AttachmentFilter::GenerateConfig() < 0) return Outcome::SystemError();

    (void)Postfix::Service("restart");
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadAttachmentFilter()
{
    Json::Value response;
    Answer(response, ListTypes(web_.In("query", ""), response));
}

void MailvaneHandler::SetAttachmentFilter(Json::Value& in)
{
    Json::Value response;
    Answer(response, ChangeTypes(in));
}
