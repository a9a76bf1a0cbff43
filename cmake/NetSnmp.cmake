# The agent's headers and libraries, as one target. Its headers are system headers: warnings in them are not ours.
find_package(Threads REQUIRED)
add_library(netsnmp-agent INTERFACE)

if(CMAKE_CROSSCOMPILING AND ZOL_HOST_NETSNMP_HEADERS)
  # Only the net-snmp folder of the build machine's headers, never the rest of them. The libraries are the device's and
  # are found when the agent loads the module.
  set(headers ${CMAKE_BINARY_DIR}/host-headers)
  file(MAKE_DIRECTORY ${headers})
  file(CREATE_LINK ${ZOL_HOST_NETSNMP_HEADERS}/net-snmp ${headers}/net-snmp SYMBOLIC)
  target_include_directories(netsnmp-agent SYSTEM INTERFACE ${headers})
else()
  find_path(NETSNMP_INCLUDE_DIR net-snmp/net-snmp-config.h REQUIRED)
  target_include_directories(netsnmp-agent SYSTEM INTERFACE ${NETSNMP_INCLUDE_DIR})
  foreach(library netsnmp netsnmpagent netsnmpmibs)
    find_library(${library}_LIBRARY ${library} REQUIRED)
    target_link_libraries(netsnmp-agent INTERFACE ${${library}_LIBRARY})
  endforeach()
endif()
