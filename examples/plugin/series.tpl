<!-- SPDX-License-Identifier: MIT -->
<!-- One line of statistics. Parameter: item, an array of 4-byte numbers whose first element is not used. -->
<row cstyle='%-10s %10.0f %10.1f %10.0f %10.0f'><value>${item}</value><value plugin=st.statsMin(of:${item};width:4;first:1)></value><value plugin=st.statsMean(of:${item};width:4;first:1)></value><value plugin=st.statsPercentile(of:${item};width:4;first:1;percent:50)></value><value plugin=st.statsMax(of:${item};width:4;first:1)></value></row>
