# The agent's headers and libraries, as one target. Its headers are system headers: warnings in them are not ours.
find_package(Threads REQUIRED)
add_library(netsnmp-agent INTERFACE)

if(CMAKE_CROSSCOMPILING AND ZOL_HOST_NETSNMP_HEADERS)
  # Only the folders of net-snmp and of OpenSSL, which its headers include, never the rest of the build machine's headers.
  # The libraries are the device's and are found when the agent loads the module.
  file(GLOB folders ${ZOL_HOST_NETSNMP_HEADERS}/net-snmp ${ZOL_HOST_NETSNMP_HEADERS}/openssl
       ${ZOL_HOST_NETSNMP_HEADERS}/*-linux-gnu/openssl)
  foreach(folder ${folders})
    string(MAKE_C_IDENTIFIER ${folder} link)
    get_filename_component(name ${folder} NAME)
    set(headers ${CMAKE_BINARY_DIR}/host-headers/${link})
    file(MAKE_DIRECTORY ${headers})
    file(CREATE_LINK ${folder} ${headers}/${name} SYMBOLIC)
    target_include_directories(netsnmp-agent SYSTEM INTERFACE ${headers})
  endforeach()
else()
  find_path(NETSNMP_INCLUDE_DIR net-snmp/net-snmp-config.h REQUIRED)
  target_include_directories(netsnmp-agent SYSTEM INTERFACE ${NETSNMP_INCLUDE_DIR})
  foreach(library netsnmp netsnmpagent netsnmpmibs)
    find_library(${library}_LIBRARY ${library} REQUIRED)
    target_link_libraries(netsnmp-agent INTERFACE ${${library}_LIBRARY})
  endforeach()
endif()
