#include "host/HttpMessageServer.h"

const CString CHttpMessageServer::HTTP_CLIENT(u"http");

unsigned int CHttpMessageServer::Open() {
    std::lock_guard<std::mutex> lock(m_lock);
    // Numbers wrap after 2^32 requests; a slot still open then is skipped.
    while (m_nNextSlot == 0 || m_mapSlots.count(m_nNextSlot) != 0)
        ++m_nNextSlot;
    const unsigned int slot = m_nNextSlot++;
    m_mapSlots.emplace(slot, std::nullopt);
    return slot;
}

std::optional<CMessage> CHttpMessageServer::Close(unsigned int clientData) {
    std::lock_guard<std::mutex> lock(m_lock);
    const auto found = m_mapSlots.find(clientData);
    if (found == m_mapSlots.end())
        return std::nullopt;
    std::optional<CMessage> message = std::move(found->second);
    m_mapSlots.erase(found);
    return message;
}

int CHttpMessageServer::SendMessageToClient(CMessage& message, const CString& client, unsigned int clientData) {
    if (client != HTTP_CLIENT)
        return 0;
    std::lock_guard<std::mutex> lock(m_lock);
    const auto found = m_mapSlots.find(clientData);
    if (found == m_mapSlots.end())
        return 0;
    found->second = message;
    return 1;
}
