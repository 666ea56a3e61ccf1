/* Network adapter and address tables, in the layouts of Windows, read from the kernel at each call.
 *
 * The three calls share one protocol. The caller gives a buffer and its size in bytes. When the buffer is
 * null or too small, the needed size is stored and the "buffer too small" code returned, with the buffer
 * untouched; otherwise the size is left alone. A table can grow between two calls, so ask again until the
 * code is another.
 *
 *   NO_ERROR                  the table is in the buffer, sorted by interface index
 *   ERROR_INSUFFICIENT_BUFFER too small; ERROR_BUFFER_OVERFLOW is another name of the same number
 *   ERROR_NO_DATA             there is nothing to report; size and buffer are left alone
 *   ERROR_INVALID_PARAMETER   a null size pointer, or an unknown address family
 *   ERROR_NOT_ENOUGH_MEMORY   out of memory
 *   any other                 the POSIX error with which the kernel refused the query (ERROR_NOT_SUPPORTED or
 *                             EAFNOSUPPORT, for example, where it has no such query)
 *
 * The calls leave the last error alone, do not block on the network, and may be made from any thread. All
 * pointers in a table point into the same buffer; there is nothing to free but the buffer. Loopback, virtual
 * and inactive interfaces are adapters like any other, but where it says otherwise. */
#ifndef KALTO_IPHLPAPI_H
#define KALTO_IPHLPAPI_H

#include <kalto/errors.h>
#include <kalto/system.h>
#include <kalto/types.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <time.h>

KALTO_BEGIN_DECLS

#define ANY_SIZE 1
#define MAX_ADAPTER_DESCRIPTION_LENGTH 128
#define MAX_ADAPTER_NAME_LENGTH 256
#define MAX_ADAPTER_ADDRESS_LENGTH 8
#define MAX_DHCPV6_DUID_LENGTH 130

/* Kinds of adapters. A wireless one that drives like Ethernet is reported as Ethernet. */
#define IF_TYPE_OTHER 1
#define IF_TYPE_ETHERNET_CSMACD 6
#define IF_TYPE_ISO88025_TOKENRING 9
#define IF_TYPE_FDDI 15
#define IF_TYPE_PPP 23
#define IF_TYPE_SOFTWARE_LOOPBACK 24
#define IF_TYPE_SLIP 28
#define IF_TYPE_ATM 37
#define IF_TYPE_IEEE80211 71
#define IF_TYPE_TUNNEL 131
#define IF_TYPE_IEEE1394 144
#define MIB_IF_TYPE_OTHER IF_TYPE_OTHER
#define MIB_IF_TYPE_ETHERNET IF_TYPE_ETHERNET_CSMACD
#define MIB_IF_TYPE_TOKENRING IF_TYPE_ISO88025_TOKENRING
#define MIB_IF_TYPE_FDDI IF_TYPE_FDDI
#define MIB_IF_TYPE_PPP IF_TYPE_PPP
#define MIB_IF_TYPE_LOOPBACK IF_TYPE_SOFTWARE_LOOPBACK
#define MIB_IF_TYPE_SLIP IF_TYPE_SLIP

typedef ULONG IF_INDEX, NET_IFINDEX, *PIF_INDEX;
typedef struct sockaddr SOCKADDR, *PSOCKADDR, *LPSOCKADDR;
typedef struct _SOCKET_ADDRESS {
    LPSOCKADDR lpSockaddr;
    INT iSockaddrLength;
} SOCKET_ADDRESS, *PSOCKET_ADDRESS, *LPSOCKET_ADDRESS;

/* An IPv4 address as text ("192.0.2.1"), and lists of such with their masks. */
typedef struct {
    char String[4 * 4];
} IP_ADDRESS_STRING, *PIP_ADDRESS_STRING, IP_MASK_STRING, *PIP_MASK_STRING;

typedef struct _IP_ADDR_STRING {
    struct _IP_ADDR_STRING* Next;
    IP_ADDRESS_STRING IpAddress;
    IP_MASK_STRING IpMask;
    DWORD Context; /* 0 */
} IP_ADDR_STRING, *PIP_ADDR_STRING;

typedef struct _IP_ADAPTER_INFO {
    struct _IP_ADAPTER_INFO* Next;
    DWORD ComboIndex;                                     /* the interface index */
    char AdapterName[MAX_ADAPTER_NAME_LENGTH + 4];        /* the interface name, "eth0" */
    char Description[MAX_ADAPTER_DESCRIPTION_LENGTH + 4]; /* the interface name again */
    UINT AddressLength;
    BYTE Address[MAX_ADAPTER_ADDRESS_LENGTH]; /* hardware address; a longer one is cut to fit */
    DWORD Index;
    UINT Type;                        /* MIB_IF_TYPE_... */
    UINT DhcpEnabled;                 /* 0: who configures an interface is not the kernel's to know */
    PIP_ADDR_STRING CurrentIpAddress; /* IpAddressList, for applications of Windows CE that read it here */
    IP_ADDR_STRING IpAddressList;     /* "0.0.0.0" with mask "0.0.0.0" when there is none */
    IP_ADDR_STRING GatewayList;       /* gateways of the default route, best first; "0.0.0.0" when none */
    IP_ADDR_STRING DhcpServer;        /* empty texts, as are the two WINS servers */
    BOOL HaveWins;                    /* FALSE */
    IP_ADDR_STRING PrimaryWinsServer;
    IP_ADDR_STRING SecondaryWinsServer;
    time_t LeaseObtained; /* 0 */
    time_t LeaseExpires;  /* 0 */
} IP_ADAPTER_INFO, *PIP_ADAPTER_INFO;

/* Lists the adapters, the loopback interface excepted (as on Windows: applications take the first adapter's
 * hardware address for the device's). ERROR_NO_DATA when there is no other. */
KALTO_API DWORD WINAPI GetAdaptersInfo(PIP_ADAPTER_INFO pAdapterInfo, PULONG pOutBufLen);

#define MIB_IPADDR_PRIMARY 0x0001
#define MIB_IPADDR_DYNAMIC 0x0004
#define MIB_IPADDR_DISCONNECTED 0x0008
#define MIB_IPADDR_DELETED 0x0040
#define MIB_IPADDR_TRANSIENT 0x0080

typedef struct _MIB_IPADDRROW {
    DWORD dwAddr; /* the addresses and the mask are in network byte order */
    IF_INDEX dwIndex;
    DWORD dwMask;
    DWORD dwBCastAddr; /* where the interface has none, the address with all host bits set */
    DWORD dwReasmSize; /* 65535, the longest datagram that the kernel puts together */
    USHORT unused1;
    USHORT wType; /* MIB_IPADDR_..., PRIMARY for the first address of each network of an interface */
} MIB_IPADDRROW, *PMIB_IPADDRROW;

typedef struct _MIB_IPADDRTABLE {
    DWORD dwNumEntries;
    MIB_IPADDRROW table[ANY_SIZE];
} MIB_IPADDRTABLE, *PMIB_IPADDRTABLE;

/* Lists the IPv4 addresses of all interfaces, the loopback interface included: by interface index, and within
 * an interface in the kernel's order; by address when bOrder is set. ERROR_NO_DATA when there is no address.
 */
KALTO_API DWORD WINAPI GetIpAddrTable(PMIB_IPADDRTABLE pIpAddrTable, PULONG pdwSize, BOOL bOrder);

typedef enum {
    IpPrefixOriginOther = 0,
    IpPrefixOriginManual,
    IpPrefixOriginWellKnown,
    IpPrefixOriginDhcp,
    IpPrefixOriginRouterAdvertisement,
    IpPrefixOriginUnchanged = 16
} IP_PREFIX_ORIGIN;

typedef enum {
    IpSuffixOriginOther = 0,
    IpSuffixOriginManual,
    IpSuffixOriginWellKnown,
    IpSuffixOriginDhcp,
    IpSuffixOriginLinkLayerAddress,
    IpSuffixOriginRandom,
    IpSuffixOriginUnchanged = 16
} IP_SUFFIX_ORIGIN;

typedef enum {
    IpDadStateInvalid = 0,
    IpDadStateTentative,
    IpDadStateDuplicate,
    IpDadStateDeprecated,
    IpDadStatePreferred
} IP_DAD_STATE;

typedef enum {
    IfOperStatusUp = 1,
    IfOperStatusDown,
    IfOperStatusTesting,
    IfOperStatusUnknown,
    IfOperStatusDormant,
    IfOperStatusNotPresent,
    IfOperStatusLowerLayerDown
} IF_OPER_STATUS;

typedef enum {
    NET_IF_CONNECTION_DEDICATED = 1,
    NET_IF_CONNECTION_PASSIVE = 2,
    NET_IF_CONNECTION_DEMAND = 3
} NET_IF_CONNECTION_TYPE;

typedef enum { TUNNEL_TYPE_NONE = 0, TUNNEL_TYPE_OTHER = 1, TUNNEL_TYPE_DIRECT = 2 } TUNNEL_TYPE;

/* Where a list entry stands in its list. Its first word is its own size. */
#define IP_ADAPTER_ADDRESS_DNS_ELIGIBLE 0x01
#define IP_ADAPTER_ADDRESS_TRANSIENT 0x02

#define KALTO_LIST_ENTRY(second)                                                                             \
    union {                                                                                                  \
        ULONGLONG Alignment;                                                                                 \
        KALTO_NAMELESS struct {                                                                              \
            ULONG Length;                                                                                    \
            DWORD second;                                                                                    \
        };                                                                                                   \
    }

typedef struct _IP_ADAPTER_UNICAST_ADDRESS {
    KALTO_NAMELESS KALTO_LIST_ENTRY(Flags); /* IP_ADAPTER_ADDRESS_... */
    struct _IP_ADAPTER_UNICAST_ADDRESS* Next;
    SOCKET_ADDRESS Address; /* a sockaddr_in or sockaddr_in6; a link-local one has its scope id */
    IP_PREFIX_ORIGIN PrefixOrigin;
    IP_SUFFIX_ORIGIN SuffixOrigin;
    IP_DAD_STATE DadState;
    ULONG ValidLifetime; /* seconds; 0xFFFFFFFF is for ever */
    ULONG PreferredLifetime;
    ULONG LeaseLifetime;
    UINT8 OnLinkPrefixLength;
} IP_ADAPTER_UNICAST_ADDRESS, *PIP_ADAPTER_UNICAST_ADDRESS, IP_ADAPTER_UNICAST_ADDRESS_LH,
    *PIP_ADAPTER_UNICAST_ADDRESS_LH;

typedef struct _IP_ADAPTER_ANYCAST_ADDRESS {
    KALTO_NAMELESS KALTO_LIST_ENTRY(Flags);
    struct _IP_ADAPTER_ANYCAST_ADDRESS* Next;
    SOCKET_ADDRESS Address;
} IP_ADAPTER_ANYCAST_ADDRESS, *PIP_ADAPTER_ANYCAST_ADDRESS;

typedef struct _IP_ADAPTER_MULTICAST_ADDRESS {
    KALTO_NAMELESS KALTO_LIST_ENTRY(Flags);
    struct _IP_ADAPTER_MULTICAST_ADDRESS* Next;
    SOCKET_ADDRESS Address;
} IP_ADAPTER_MULTICAST_ADDRESS, *PIP_ADAPTER_MULTICAST_ADDRESS;

typedef struct _IP_ADAPTER_DNS_SERVER_ADDRESS {
    KALTO_NAMELESS KALTO_LIST_ENTRY(Reserved);
    struct _IP_ADAPTER_DNS_SERVER_ADDRESS* Next;
    SOCKET_ADDRESS Address;
} IP_ADAPTER_DNS_SERVER_ADDRESS, *PIP_ADAPTER_DNS_SERVER_ADDRESS;

typedef struct _IP_ADAPTER_WINS_SERVER_ADDRESS {
    KALTO_NAMELESS KALTO_LIST_ENTRY(Reserved);
    struct _IP_ADAPTER_WINS_SERVER_ADDRESS* Next;
    SOCKET_ADDRESS Address;
} IP_ADAPTER_WINS_SERVER_ADDRESS, *PIP_ADAPTER_WINS_SERVER_ADDRESS, IP_ADAPTER_WINS_SERVER_ADDRESS_LH,
    *PIP_ADAPTER_WINS_SERVER_ADDRESS_LH;

typedef struct _IP_ADAPTER_GATEWAY_ADDRESS {
    KALTO_NAMELESS KALTO_LIST_ENTRY(Reserved);
    struct _IP_ADAPTER_GATEWAY_ADDRESS* Next;
    SOCKET_ADDRESS Address;
} IP_ADAPTER_GATEWAY_ADDRESS, *PIP_ADAPTER_GATEWAY_ADDRESS, IP_ADAPTER_GATEWAY_ADDRESS_LH,
    *PIP_ADAPTER_GATEWAY_ADDRESS_LH;

typedef struct _IP_ADAPTER_PREFIX {
    KALTO_NAMELESS KALTO_LIST_ENTRY(Flags);
    struct _IP_ADAPTER_PREFIX* Next;
    SOCKET_ADDRESS Address;
    ULONG PrefixLength;
} IP_ADAPTER_PREFIX, *PIP_ADAPTER_PREFIX;

typedef struct _IP_ADAPTER_DNS_SUFFIX {
    struct _IP_ADAPTER_DNS_SUFFIX* Next;
    WCHAR String[256];
} IP_ADAPTER_DNS_SUFFIX, *PIP_ADAPTER_DNS_SUFFIX;

/* Flags of an adapter. */
#define IP_ADAPTER_DDNS_ENABLED 0x0001
#define IP_ADAPTER_REGISTER_ADAPTER_SUFFIX 0x0002
#define IP_ADAPTER_DHCP_ENABLED 0x0004
#define IP_ADAPTER_RECEIVE_ONLY 0x0008
#define IP_ADAPTER_NO_MULTICAST 0x0010
#define IP_ADAPTER_IPV6_OTHER_STATEFUL_CONFIG 0x0020
#define IP_ADAPTER_NETBIOS_OVER_TCPIP_ENABLED 0x0040
#define IP_ADAPTER_IPV4_ENABLED 0x0080
#define IP_ADAPTER_IPV6_ENABLED 0x0100

typedef struct _IP_ADAPTER_ADDRESSES {
    KALTO_NAMELESS KALTO_LIST_ENTRY(IfIndex);
    struct _IP_ADAPTER_ADDRESSES* Next;
    PCHAR AdapterName; /* the interface name, "eth0" */
    PIP_ADAPTER_UNICAST_ADDRESS FirstUnicastAddress;
    PIP_ADAPTER_ANYCAST_ADDRESS FirstAnycastAddress;
    PIP_ADAPTER_MULTICAST_ADDRESS FirstMulticastAddress;
    PIP_ADAPTER_DNS_SERVER_ADDRESS FirstDnsServerAddress; /* the machine's; none for loopback and inactive */
    PWCHAR DnsSuffix;   /* the search domain is the machine's, not an adapter's: empty */
    PWCHAR Description; /* the interface name */
    PWCHAR FriendlyName;
    BYTE PhysicalAddress[MAX_ADAPTER_ADDRESS_LENGTH]; /* a longer one is cut to fit */
    DWORD PhysicalAddressLength;
    DWORD Flags; /* NO_MULTICAST; IPV4_ENABLED and IPV6_ENABLED for one that has such an address */
    DWORD Mtu;
    DWORD IfType;              /* IF_TYPE_... */
    IF_OPER_STATUS OperStatus; /* Up also for an active interface that cannot tell, as loopback */
    DWORD Ipv6IfIndex;         /* the interface index, 0 when the adapter has no IPv6 address */
    DWORD ZoneIndices[16];     /* the interface index at 1 and 2 (interface and link), else 0 */
    PIP_ADAPTER_PREFIX FirstPrefix;
    /* From here on as later versions have it. */
    ULONG64 TransmitLinkSpeed; /* all ones: not known; likewise ReceiveLinkSpeed */
    ULONG64 ReceiveLinkSpeed;
    PIP_ADAPTER_WINS_SERVER_ADDRESS FirstWinsServerAddress;
    PIP_ADAPTER_GATEWAY_ADDRESS FirstGatewayAddress;
    ULONG Ipv4Metric; /* of the best default route through the adapter, 0 without one */
    ULONG Ipv6Metric;
    union {
        ULONG64 Value;
    } Luid;                      /* the interface index */
    SOCKET_ADDRESS Dhcpv4Server; /* empty, as are the fields after CompartmentId */
    ULONG CompartmentId;         /* 1 */
    GUID NetworkGuid;
    NET_IF_CONNECTION_TYPE ConnectionType; /* NET_IF_CONNECTION_DEDICATED, or PASSIVE for loopback */
    TUNNEL_TYPE TunnelType;
    SOCKET_ADDRESS Dhcpv6Server;
    BYTE Dhcpv6ClientDuid[MAX_DHCPV6_DUID_LENGTH];
    ULONG Dhcpv6ClientDuidLength;
    ULONG Dhcpv6Iaid;
    PIP_ADAPTER_DNS_SUFFIX FirstDnsSuffix;
} IP_ADAPTER_ADDRESSES, *PIP_ADAPTER_ADDRESSES, IP_ADAPTER_ADDRESSES_LH, *PIP_ADAPTER_ADDRESSES_LH;

/* What to leave out, and what to add. The flags that are named but not described are accepted and change
 * nothing: all interfaces are listed anyway, and there is one compartment. */
#define GAA_FLAG_SKIP_UNICAST 0x0001
#define GAA_FLAG_SKIP_ANYCAST 0x0002
#define GAA_FLAG_SKIP_MULTICAST 0x0004
#define GAA_FLAG_SKIP_DNS_SERVER 0x0008
#define GAA_FLAG_INCLUDE_PREFIX 0x0010     /* one prefix for each unicast address, in the same order */
#define GAA_FLAG_SKIP_FRIENDLY_NAME 0x0020 /* FriendlyName is null */
#define GAA_FLAG_INCLUDE_WINS_INFO 0x0040
#define GAA_FLAG_INCLUDE_GATEWAYS 0x0080 /* gateways of the default routes, best first */
#define GAA_FLAG_INCLUDE_ALL_INTERFACES 0x0100
#define GAA_FLAG_INCLUDE_ALL_COMPARTMENTS 0x0200
#define GAA_FLAG_INCLUDE_TUNNEL_BINDINGORDER 0x0400

/* Lists all adapters, the loopback interface included, with their addresses of one family (AF_INET, AF_INET6)
 * or both (AF_UNSPEC). An adapter without an address of the family is listed with empty lists; when a family
 * is asked for of which no adapter has an address, the result is ERROR_NO_DATA. Reserved is ignored. */
KALTO_API ULONG WINAPI GetAdaptersAddresses(ULONG Family, ULONG Flags, PVOID Reserved,
                                            PIP_ADAPTER_ADDRESSES AdapterAddresses, PULONG SizePointer);

KALTO_END_DECLS

#endif
