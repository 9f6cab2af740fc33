<report>
<plugin name=std, lib=vorn-std, init=std_init(), end=std_end()>
<row cstyle='%s'><value>line;frames;errors;power in 0.01 dBm;seconds without link</value></row>
<iterate var=n, from=1, to=ifstats@ports>
<row cstyle='%s;%.0f;%.0f;%.0f;%.0f'>
<value>${n}</value>
<value plugin=std.sum(item:port${n}@rxFrames)></value>
<value plugin=std.sum(item:port${n}@rxErrors)></value>
<value plugin=std.sum(item:port${n}@rxPower)></value>
<value plugin=std.sum(item:port${n}@lost:secs)></value>
</row>
</iterate>
</report>
