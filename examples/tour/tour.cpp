// A short tour of what the libraries offer: strings, keyed containers, XML
// and SNMP objects, printed as a host would see them.
#include <tw_varlib.h>

#include <iostream>

int main() {
    // Keyed containers: the walk order follows the buckets, not the insertions.
    CMapEx<CString, const char16_t*, CString, const char16_t*> hosts;
    hosts[u"router"] = u"10.0.0.1";
    hosts[u"switch"] = u"10.0.0.2";
    hosts[u"printer"] = u"10.0.0.9";
    std::cout << "hosts in walk order (" << hosts.GetCount() << " of them, " << hosts.GetHashTableSize()
              << " buckets):\n";
    POSITION pos = hosts.GetStartPosition();
    while (pos) {
        CString name, address;
        hosts.GetNextAssoc(pos, name, address);
        CString line;
        line.Format(u"  %-8s %s", name, address);
        std::cout << line << "\n";
    }

    // XML: attributes keep every character.
    CXML device(CString(u"Device"));
    device.SetAttr(CString(u"Name"), CString(u"core <1> & \"edge\""));
    device.SetAttr(CString(u"Ports"), 48);
    std::cout << "\nXML: " << device.ToString(1) << "\n";

    // SNMP: a response PDU with one binding.
    CSnmpVarBind uptime;
    CXML vbXml = uptime.ToXml();
    CSnmpPdu pdu;
    pdu += uptime;
    std::cout << "\nPDU as JSON: " << pdu.ToJSON() << "\n";
    std::cout << "local address: " << CSnmpUtility::GetLocalIPAddress() << "\n";
    return 0;
}
