<report>
<plugin name=std, lib=vorn-std, init=std_init(app:ifstats), end=std_end()>
<row cstyle='%-10s %s'><value>from</value><value plugin=std.iso_time(item:%start-time)></value></row>
<row cstyle='%-10s %s'><value>to</value><value plugin=std.iso_time(item:%stop-time)></value></row>
<row cstyle='%-10s %s'><value>reset</value><value plugin=std.iso_time(item:lastReset)></value></row>
<row cstyle='%-10s %s'><value>local time</value><value global=%start-time, conv=dateTime></value></row>
</report>
